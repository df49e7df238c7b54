// Lets servers change things for a while, while other programs change the same folders.
//
//   neighbours SECONDS SERVER [--in FOLDER] [--without-exchange LIBRARY]
//
// Afterwards, whatever any program has changed must be there, and nothing may ever have been half.
// The home is made in FOLDER, /tmp otherwise. If its file system cannot exchange two names, or the
// preloaded LIBRARY says so, a program that replaces or deletes a file within microseconds of the
// server's own change may win or lose; on FUSE, so may one that writes in place, and a reader may
// find a file empty. Those losses are counted and do not fail.

#include "support/Files.hpp"
#include "support/TemporaryFolder.hpp"
#include "tests/neighbours/Item.hpp"
#include "tests/neighbours/Servers.hpp"
#include "tests/support/SteadyHost.hpp"

#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <future>
#include <stdio.h> // NOLINT(modernize-deprecated-headers): RENAME_EXCHANGE
#include <sys/vfs.h>
#include <thread>

namespace {

using namespace velmiro::neighbours;
using velmiro::support::ChildProcess;
using velmiro::support::TemporaryFolder;
using velmiro::test::SteadyHost;
namespace fs = std::filesystem;

struct Options {
    std::chrono::seconds time{60};
    std::string server;
    std::string folder = "/tmp";
    std::string withoutExchange;
};

const std::vector<std::string> ofReplacer{"r0", "r1", "r2"};
const std::vector<std::string> ofWriter{"w0", "w1", "w2"};
const std::vector<std::string> ofRewriter{"e0", "e1"};
const std::vector<std::string> ofDeleter{"d0", "d1"};

std::vector<std::string> allItems() {
    std::vector<std::string> all;
    for (const auto& some : {ofReplacer, ofWriter, ofRewriter, ofDeleter}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

void fill(const Home& home) {
    for (const char* folder :
         {"Calendars/Home", "Reminders/Home", "Reminders/Shared", "Reminders/Together",
          "Notes/Notes", "Mail/new", "Mail/cur", "Mail/tmp"}) {
        fs::create_directories(home.data() / folder);
    }
    for (const std::string& uid : allItems()) {
        replaceByRename(home.shared() / (uid + ".ics"), itemText(uid, 0));
    }
}

/// Returns whether the file system of a folder exchanges two names.
bool canExchange(const fs::path& folder) {
    const std::string one = folder / ".one";
    const std::string other = folder / ".other";
    velmiro::support::writeFile(one, "");
    velmiro::support::writeFile(other, "");
    const bool can =
        ::renameat2(AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE) == 0;
    fs::remove(one);
    fs::remove(other);
    return can;
}

/// Returns whether a folder is on a file system of FUSE. Such a one may have several inodes for one
/// file, and a lease protects one of them. On fuse2fs one read in 1,400 also finds a file empty
/// that is replaced by renames alone, without any server at work.
bool isFuse(const fs::path& folder) {
    constexpr auto magic = 0x65735546;
    struct statfs about{};
    return ::statfs(folder.c_str(), &about) == 0 && about.f_type == magic;
}

ChildProcess::Options serverIn(const Home& home, const Options& options,
                               const std::string& socket) {
    ChildProcess::Options server{.arguments = {options.server},
                                 .environment = {{"HOME", home.root.string()},
                                                 {"TZ", "Europe/Berlin"},
                                                 {"LC_ALL", "en_GB.UTF-8"},
                                                 {"VELMIRO_APPROVAL_SOCKET", socket}}};
    if (!options.withoutExchange.empty()) {
        server.environment["LD_PRELOAD"] = options.withoutExchange;
        server.environment["NO_EXCHANGE"] = "22"; // EINVAL
    }
    return server;
}

/// Prints a record. Returns whether it shows that something was done and nothing lost, if it may
/// not be.
bool report(const Record& record, bool mayLose) {
    std::printf("%-28s %10lu %6lu%s\n", record.name.c_str(), record.changes, record.lost,
                mayLose ? "  (cannot be excluded here)" : "");
    for (const std::string& example : record.examples) {
        if (!mayLose) {
            std::printf("%s\n", example.c_str());
        }
    }
    return record.changes > 0 && (record.lost == 0 || mayLose);
}

bool run(const Options& options) {
    const TemporaryFolder folder{options.folder};
    const TemporaryFolder sockets{"/tmp"}; // a short path
    const Home home{folder.path()};
    fill(home);
    const bool onFuse = isFuse(home.shared());
    const bool swaps = options.withoutExchange.empty() && canExchange(home.shared());
    const std::string socket = sockets / "approval.sock";
    const SteadyHost host{socket, [](const std::string& /*question*/) { return true; }};
    const auto server = serverIn(home, options, socket);
    Server one{server, "A"};
    Server other{server, "B"};

    std::atomic<bool> isOver{false};
    const auto start = [](auto work) { return std::async(std::launch::async, std::move(work)); };
    const auto share = [&](const std::vector<std::string>& uids) {
        return Share{home.shared(), uids, isOver};
    };
    std::vector<std::future<Record>> programs;
    programs.push_back(start([&] { return replaceItems(share(ofReplacer)); }));
    programs.push_back(start([&] { return deleteItems(share(ofDeleter)); }));
    programs.push_back(start([&] { return writeInPlace(share(ofWriter)); }));
    programs.push_back(start([&] { return rewriteInPlace(share(ofRewriter)); }));
    programs.push_back(start([&] { return readItems(share(allItems()), ofRewriter); }));
    programs.push_back(start([&] { return moveMail(home.maildir(), isOver); }));
    programs.push_back(start([&] { return completeTogether(server, home, onFuse, isOver); }));
    auto first = start([&] { one.work(allItems(), isOver); });
    auto second = start([&] { other.work(allItems(), isOver); });
    std::this_thread::sleep_for(options.time);
    isOver = true;

    std::printf("%s\n%-28s %10s %6s\n",
                swaps ? "names are exchanged" : "the file system cannot exchange names",
                "while the servers work", "changes", "lost");
    const std::size_t exposed = onFuse ? 5 : 2; // the first of the programs
    bool right = true;
    for (std::size_t number = 0; number < programs.size(); ++number) {
        const bool mayLose = !swaps && number < exposed;
        right = report(programs[number].get(), mayLose) && right;
    }
    first.get();
    second.get();
    Outcomes outcomes;
    for (const Server* each : {&one, &other}) {
        right = report(each->created(home), false) && right;
        for (const auto& [outcome, count] : each->outcomes()) {
            outcomes[outcome] += count;
        }
    }
    for (const auto& [outcome, count] : outcomes) {
        std::printf("%8lu  %s\n", count, outcome.c_str());
    }
    return right;
}

} // namespace

int main(int count, char** arguments) {
    const std::vector<std::string> words{arguments + 1, arguments + count};
    Options options;
    try {
        options.time = std::chrono::seconds{std::stoul(words.at(0))};
        options.server = words.at(1);
        for (std::size_t at = 2; at < words.size(); at += 2) {
            (words[at] == "--in" ? options.folder : options.withoutExchange) = words.at(at + 1);
        }
    } catch (const std::logic_error&) {
        std::fputs("usage: neighbours SECONDS SERVER [--in FOLDER] [--without-exchange LIBRARY]\n",
                   stderr);
        return 2;
    }
    try {
        return run(options) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "neighbours: %s\n", error.what());
        return 1;
    }
}
