#pragma once

#include "support/ScopedVariable.hpp"
#include "support/TemporaryFolder.hpp"

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace velmiro::test {

/// A home folder with a Maildir, which need not exist.
class MailHome {
public:
    [[nodiscard]] std::string maildir() const { return folder_ / inHome; }
    [[nodiscard]] std::filesystem::path path(std::string_view name) const {
        return std::filesystem::path{maildir()} / name;
    }

    /// Writes a file, such as `cur/1.a:2,S`, that is so many seconds old.
    void write(std::string_view name, std::string_view content, std::time_t age = 0) const {
        folder_.write(std::filesystem::path{inHome} / name, content);
        setAge(name, age);
    }

    void setAge(std::string_view name, std::time_t age) const {
        const std::time_t time = std::time(nullptr) - age;
        const std::array<timespec, 2> times{{{time, 0}, {time, 0}}};
        if (::utimensat(AT_FDCWD, path(name).c_str(), times.data(), 0) != 0) {
            throw std::runtime_error{"cannot set the time of a message"};
        }
    }

    void rename(std::string_view from, std::string_view to) const {
        std::filesystem::create_directories(path(to).parent_path());
        std::filesystem::rename(path(from), path(to));
    }

private:
    static constexpr const char* inHome = "Library/Application Support/Velmiro/Mail";

    support::TemporaryFolder folder_;
    support::ScopedVariable home_{"HOME", folder_.path().c_str()};
};

/// Returns the date of a header, so many seconds ago.
inline std::string headerDateAgo(std::time_t age) {
    const std::time_t time = std::time(nullptr) - age;
    std::tm fields{};
    ::gmtime_r(&time, &fields);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S +0000", &fields);
    return text.data();
}

/// Returns a small message that was received so many seconds ago.
inline std::string messageOf(const std::string& subject, std::time_t age) {
    return "Received: from a by b; " + headerDateAgo(age) +
           "\nFrom: Ana <ana@example.org>\nTo: me@example.org\nSubject: " + subject +
           "\n\nHello.\n";
}

} // namespace velmiro::test
