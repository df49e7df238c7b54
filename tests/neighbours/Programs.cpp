#include "tests/neighbours/Programs.hpp"

#include "MCPStdio/transport/Descriptor.hpp"
#include "support/Eventually.hpp"
#include "support/Files.hpp"
#include "tests/neighbours/Item.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <random>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace velmiro::neighbours {
namespace {

namespace fs = std::filesystem;
using MCPStdio::Descriptor;
using namespace std::chrono_literals;

/// During a conflict the wrong version is in place for a moment, on a busy machine for longer.
constexpr std::chrono::milliseconds moment = 30s;

/// One program while it works: which item is next, and its last number.
class Work {
public:
    Work(const Share& share, std::string name) : share_{share} {
        record.name = std::move(name);
        for (const std::string& uid : share.uids) {
            numbers_[uid] = 0;
        }
    }

    /// Calls `change` with a file and its new number until it is over; then checks that the file
    /// has that number. A change that returns false was not made.
    template <typename Change>
    void run(Change change) {
        while (!share_.isOver) {
            const std::string& uid = share_.uids[random_() % share_.uids.size()];
            const unsigned number = numbers_[uid] + 1;
            const fs::path file = share_.folder / (uid + ".ics");
            if (!change(file, uid, number)) {
                continue;
            }
            numbers_[uid] = number;
            ++record.changes;
            std::this_thread::sleep_for(std::chrono::microseconds{random_() % 3000});
            const bool isThere = support::eventually(
                [&] { return numberIn(support::readFile(file)) == number; }, moment);
            if (!isThere) {
                lose("number " + std::to_string(number) + " of " + uid + " is not in\n" +
                     support::readFile(file));
                replaceByRename(file, itemText(uid, number));
            }
        }
    }

    void lose(const std::string& what) {
        ++record.lost;
        if (record.examples.size() < 3) {
            record.examples.push_back(what);
        }
    }

    std::chrono::microseconds nap() { return std::chrono::microseconds{random_() % 3000}; }

    Record record;

private:
    const Share& share_;
    std::map<std::string, unsigned> numbers_;
    std::minstd_rand random_{std::random_device{}()};
};

void writeTo(const Descriptor& file, std::string_view text, off_t at) {
    if (::pwrite(file.get(), text.data(), text.size(), at) != static_cast<ssize_t>(text.size())) {
        throw std::system_error{errno, std::generic_category(), "pwrite"};
    }
}

/// Returns the time as a message's header has it.
std::string now() {
    const std::time_t seconds = std::time(nullptr);
    std::array<char, 64> text{};
    const auto size = std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S +0000",
                                    std::gmtime(&seconds));
    return {text.data(), size};
}

std::string readAll(const Descriptor& file) {
    std::string text(65'536, '\0');
    const ssize_t count = ::pread(file.get(), text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

} // namespace

Record replaceItems(const Share& share) {
    Work work{share, "replaces by rename"};
    work.run([](const fs::path& file, const std::string& uid, unsigned number) {
        replaceByRename(file, itemText(uid, number));
        return true;
    });
    return std::move(work.record);
}

Record writeInPlace(const Share& share) {
    Work work{share, "writes in place"};
    work.run([](const fs::path& file, const std::string& /*uid*/, unsigned number) {
        const Descriptor opened{::open(file.c_str(), O_RDWR | O_CLOEXEC)};
        const auto at = opened ? placeOfNumber(readAll(opened)) : std::string::npos;
        if (at == std::string::npos) {
            return false;
        }
        writeTo(opened, digitsOf(number), static_cast<off_t>(at));
        return true;
    });
    return std::move(work.record);
}

Record rewriteInPlace(const Share& share) {
    Work work{share, "empties and rewrites"};
    work.run([](const fs::path& file, const std::string& uid, unsigned number) {
        const Descriptor opened{::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC)};
        if (!opened) {
            return false;
        }
        const std::string text = itemText(uid, number);
        const std::size_t half = text.size() / 2;
        writeTo(opened, std::string_view{text}.substr(0, half), 0);
        std::this_thread::sleep_for(200us);
        writeTo(opened, std::string_view{text}.substr(half), static_cast<off_t>(half));
        return true;
    });
    return std::move(work.record);
}

Record deleteItems(const Share& share) {
    Work work{share, "deletes"};
    work.run([&](const fs::path& file, const std::string& uid, unsigned number) {
        fs::remove(file);
        std::this_thread::sleep_for(work.nap());
        if (fs::exists(file)) {
            work.lose(uid + " is there although it was deleted\n" + support::readFile(file));
        }
        replaceByRename(file, itemText(uid, number));
        return true;
    });
    return std::move(work.record);
}

Record readItems(const Share& share, const std::vector<std::string>& excepted) {
    Record record{.name = "reads (lost: half a file)"};
    while (!share.isOver) {
        for (const auto& entry : fs::directory_iterator{share.folder}) {
            const fs::path& file = entry.path();
            const bool isItem =
                file.extension() == ".ics" && !file.filename().string().starts_with('.');
            if (!isItem || std::ranges::count(excepted, file.stem().string()) > 0) {
                continue;
            }
            const Descriptor opened{::open(file.c_str(), O_RDONLY | O_CLOEXEC)};
            if (!opened) {
                continue; // deleted since
            }
            ++record.changes;
            if (const std::string text = readAll(opened); !isWhole(text)) {
                ++record.lost;
                record.examples.push_back(file.string() + "\n" + text);
            }
        }
        std::this_thread::sleep_for(1ms);
    }
    return record;
}

Record moveMail(const fs::path& maildir, const std::atomic<bool>& isOver) {
    constexpr unsigned most = 60;
    Record record{.name = "delivers and moves mail"};
    std::minstd_rand random{std::random_device{}()};
    std::map<std::string, std::pair<fs::path, std::string>> messages; // by their unique names
    while (!isOver) {
        ++record.changes;
        const unsigned number = messages.size() < most ? static_cast<unsigned>(messages.size())
                                                       : static_cast<unsigned>(random() % most);
        const std::string unique = "1760000000.M" + std::to_string(number) + ".host";
        const auto known = messages.find(unique);
        if (known == messages.end()) {
            const std::string text =
                "From: Ada <ada@example.org>\r\nTo: me@example.org\r\nSubject: "
                "Moving " +
                std::to_string(number) + "\r\nDate: " + now() + "\r\n\r\nHello " + unique + "\r\n";
            support::writeFile(maildir / "tmp" / unique, text);
            fs::rename(maildir / "tmp" / unique, maildir / "new" / unique);
            messages.emplace(unique, std::pair{maildir / "new" / unique, text});
        } else {
            constexpr const char* flags[]{":2,", ":2,S", ":2,RS", ":2,F"};
            const fs::path to = maildir / "cur" / (unique + flags[random() % 4]);
            fs::rename(known->second.first, to);
            known->second.first = to;
        }
        std::this_thread::sleep_for(std::chrono::microseconds{random() % 3000});
    }
    for (const auto& [unique, message] : messages) {
        if (support::readFile(message.first) != message.second) {
            ++record.lost;
            record.examples.push_back(message.first.string());
        }
    }
    return record;
}

} // namespace velmiro::neighbours
