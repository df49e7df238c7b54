#pragma once

#include "velmiro_mcp/platform/local/files/Files.hpp"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <sys/types.h>

/// Looking at files and folders without changing, locking or waiting for any of them.
namespace velmiro::doctor {

/// How much is looked at, so that folders of any size are examined in bounded time and memory.
struct Bounds {
    std::size_t names = 100'000; ///< kept of one folder; all are counted
    std::size_t others = 1'000;  ///< entries of a folder that are not items, kept of each sort
    std::size_t files = 50'000;  ///< opened for one kind of data
    std::size_t shown = 3;       ///< findings of one sort that are told one by one
    std::chrono::milliseconds time{4'000}; ///< for one kind of data
};

/// What is left of the bounds for one kind of data.
class Budget {
public:
    explicit Budget(const Bounds& bounds) : bounds_{bounds}, files_{bounds.files} {}

    [[nodiscard]] const Bounds& bounds() const noexcept { return bounds_; }
    [[nodiscard]] bool isTimeLeft() const { return Clock::now() < end_; }

    /// Returns whether one more file may be opened, and counts it.
    [[nodiscard]] bool takeFile() {
        if (files_ == 0 || !isTimeLeft()) {
            return false;
        }
        --files_;
        return true;
    }

private:
    using Clock = std::chrono::steady_clock;

    Bounds bounds_;
    std::size_t files_;
    Clock::time_point end_ = Clock::now() + bounds_.time;
};

/// What a path leads to.
struct Place {
    enum class What {
        missing,     ///< there is no such name
        dangling,    ///< a link that leads nowhere, or in circles
        unreachable, ///< `error` says why
        folder,
        file,
        other, ///< a pipe, a device, a socket
    };

    What what = What::missing;
    bool isLink = false;
    std::string target; ///< of a link: the folder or file itself, else the text of the link
    std::error_code error;
    std::pair<dev_t, ino_t> identity; ///< of the file or folder itself
    off_t size = 0;

    [[nodiscard]] bool isFolder() const noexcept { return what == What::folder; }
};

Place placeOf(const std::string& path);

/// Returns the path without links; empty if it leads nowhere.
std::string realPathOf(const std::string& path);

/// Returns the link that leads nowhere in the path of something missing; empty if there is none.
std::string danglingAbove(std::string path);

/// Returns the folder that may not be entered in the path of something unreachable.
std::string lockedAbove(std::string path);

/// Returns the text with the target of a link: Calendars → /home/ada/.calendars
std::string withTarget(const std::string& text, const Place& place);

/// The entries of one folder.
struct Listing {
    std::vector<std::string> items;  ///< at most `Bounds::names` of them, in byte order
    std::vector<std::string> others; ///< other visible names, at most `Bounds::others`
    std::vector<std::string> hidden; ///< names that begin with a dot, likewise
    std::size_t itemCount = 0;       ///< of all items
    bool isCut = false;              ///< the time was up before the end

    [[nodiscard]] bool isWhole() const noexcept { return !isCut && itemCount == items.size(); }
};

using NameTest = bool (*)(std::string_view name);

/// Lists a folder. Throws std::system_error if it cannot be read.
Listing listingOf(const local::OpenFolder& folder, NameTest isItem, const Budget& budget);

/// Does the same for a path; empty if it cannot be read.
Listing listingIfReadable(const std::string& path, NameTest isItem, const Budget& budget);

/// Returns whether a folder holds an item; false if it cannot be read.
bool holdsItem(const std::string& path, NameTest isItem, const Budget& budget);

/// Returns the contents of a file of at most 32 MiB, as the server reads it; nullopt if it cannot
/// be read. What is no regular file is not even opened: that could wake whoever writes into a pipe.
std::optional<std::string> readItem(const local::OpenFolder& folder, const std::string& name);

/// Returns why a file cannot be read, as the server reads it: a dangling link, a folder, a pipe,
/// larger than 32 MiB, permission denied. Returns an empty text if no reason is left.
std::string whyUnreadable(const std::string& path);

/// Returns the last part of a path.
std::string lastName(const std::string& path);

} // namespace velmiro::doctor
