#include "velmiro_mcp/platform/local/FileReplacement.hpp"

#include "velmiro_mcp/platform/local/HiddenFiles.hpp"
#include "velmiro_mcp/platform/local/Vdir.hpp"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

// The new version is written under a hidden name and then changes places with the old one, in one
// step (RENAME_EXCHANGE). Only then is it known what the old one was: when it is not what the new
// one was made from, another program has been faster, and its version goes back to its place. It
// may be replaced there once more in the meantime, so putting back is the same step again, until
// what comes out is what was put in before.
//
// For that moment the wrong version is to be seen. A look before the swap makes the moment rare,
// and a lock on the folder keeps this program's own processes out of it.

namespace velmiro::local {
namespace {

/// What a file holds; nothing stands for whatever cannot be read.
using Version = std::optional<std::string>;

/// A file in its folder, and the hidden name beside it.
struct Place {
    const FileDescriptor& folder;
    std::string name;
    std::string aside;

    [[nodiscard]] int swap() const {
        return renameat2(folder.number(), aside.c_str(), folder.number(), name.c_str(),
                         RENAME_EXCHANGE) == 0
                   ? 0
                   : errno;
    }

    /// Nothing when it cannot be read.
    [[nodiscard]] Version versionAside() const {
        return readRegularFile(folder, aside, largestItem);
    }

    /// Another machine that shares the folder may take us for dead and clean up; it only takes one
    /// of our own versions.
    [[nodiscard]] bool isAsideTaken() const {
        return faccessat(folder.number(), aside.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) != 0;
    }

    void removeAside() const { unlinkat(folder.number(), aside.c_str(), 0); }
};

/// Puts back what another program wrote, whatever it writes meanwhile. `placed` is what stands in
/// its place now, `foreign` what is aside.
int putBack(const Place& place, Version placed, Version foreign) {
    for (;;) {
        if (const int error = place.swap()) {
            // Gone while its version was aside: the other program has removed it since.
            place.removeAside();
            return error;
        }
        Version out = place.versionAside();
        if (out == placed) {
            place.removeAside();
            return EAGAIN;
        }
        placed = std::move(foreign);
        foreign = std::move(out);
    }
}

/// Zero, or EBUSY when somebody else keeps the folder locked for longer than `patience`.
int lockFolder(const FileDescriptor& folder, std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds pause{1};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(folder.number(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            return 0; // no locks on this file system: go without
        }
        if (std::chrono::steady_clock::now() >= end) {
            return EBUSY;
        }
        std::this_thread::sleep_for(pause);
    }
    return 0;
}

int replaceBySwap(const Place& place, std::string_view expected, std::string_view contents) {
    if (const int error = place.swap()) {
        place.removeAside();
        return error;
    }
    Version old = place.versionAside();
    if (old != expected && !place.isAsideTaken()) {
        return putBack(place, std::string{contents}, std::move(old));
    }
    if (!flushFolder(place.folder.number())) {
        const int error = errno;
        const int undone = putBack(place, std::string{contents}, std::move(old));
        return undone == EAGAIN ? error : undone;
    }
    place.removeAside();
    return 0;
}

int replaceByRename(const Place& place) {
    if (renameat(place.folder.number(), place.aside.c_str(), place.folder.number(),
                 place.name.c_str()) != 0) {
        const int error = errno;
        place.removeAside();
        return error;
    }
    return flushFolder(place.folder.number()) ? 0 : errno;
}

} // namespace

int replaceFile(const std::string& path, std::string_view expected, std::string_view contents,
                Replacing how, std::chrono::milliseconds patience) {
    const std::unique_ptr<char, decltype(&std::free)> resolved{realpath(path.c_str(), nullptr),
                                                               &std::free};
    if (!resolved) {
        return errno;
    }
    const std::string real = resolved.get();
    const FileDescriptor folder{open(parentOf(real).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    struct stat about{};
    const std::string name = real.substr(real.find_last_of('/') + 1);
    if (!folder || fstatat(folder.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    // A file that may not be written is not to be replaced, though its folder would allow it.
    if (faccessat(folder.number(), name.c_str(), W_OK, AT_EACCESS) != 0) {
        return errno;
    }
    removeLeftovers(folder);
    const HiddenFile fresh{folder, contents, S_IRUSR | S_IWUSR};
    if (fresh.error() != 0) {
        return fresh.error();
    }
    if (fchmod(fresh.number(), about.st_mode & 07777) != 0) {
        return errno;
    }
    // Only now, for the disk has taken the new version already: nobody waits for that.
    if (const int error = lockFolder(folder, patience)) {
        return error;
    }
    if (readRegularFile(folder, name, largestItem) != expected) {
        return EAGAIN;
    }
    const Place place{folder, name, asideName(expected, contents)};
    if (renameat(folder.number(), fresh.name().c_str(), folder.number(), place.aside.c_str()) !=
        0) {
        return errno == ENOENT ? EAGAIN : errno;
    }
    return how == Replacing::bySwap ? replaceBySwap(place, expected, contents)
                                    : replaceByRename(place);
}

int replaceFile(const std::string& path, std::string_view expected, std::string_view contents) {
    const int error = replaceFile(path, expected, contents, Replacing::bySwap);
    const bool cannotSwap = error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
    return cannotSwap ? replaceFile(path, expected, contents, Replacing::byRename) : error;
}

} // namespace velmiro::local
