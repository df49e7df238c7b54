#include "velmiro_mcp/platform/local/files/FileReplacement.hpp"

#include "velmiro_mcp/platform/local/files/FileVersion.hpp"
#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"
#include "velmiro_mcp/platform/local/files/ReadLease.hpp"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

// The new version is written under a hidden name and then changes places with the old one, in one
// step (RENAME_EXCHANGE). Only then is it known what the old one was: when it is not the file that
// was read, another program has been faster, and its version goes back to its place. It may be
// replaced there once more in the meantime, so putting back is the same step again, until what
// comes out is what was put in before.
//
// Every call after the swap may fail, and then nothing is known about what it was to look at. So
// both versions are held open from before the swap on, and a file is removed only when it is known
// to be one of them; when that cannot be told, everything stays where it is.
//
// For the moment of a conflict the wrong version is to be seen. A look before the swap makes that
// rare, a lock on the folder keeps this program's own processes out of it, and a lease on the old
// file keeps out programs that write in place.

namespace velmiro::local {
namespace {

using End = Replacement::End;

Replacement done() {
    return {};
}

Replacement outrun() {
    return {End::outrun, 0, {}};
}

Replacement failed(int error) {
    return {End::failed, error, {}};
}

/// A file in its folder, and the hidden name beside it.
struct Place {
    const FileDescriptor& folder;
    std::string name;
    std::string aside;

    /// Zero, or the number of the error.
    [[nodiscard]] int swap() const {
        return renameat2(folder.number(), aside.c_str(), folder.number(), name.c_str(),
                         RENAME_EXCHANGE) == 0
                   ? 0
                   : errno;
    }

    /// Throws std::system_error when it cannot be told.
    [[nodiscard]] bool hasAside(const FileVersion& version) const {
        return version.standsAs(folder, aside);
    }

    /// Another machine that shares the folder may take us for dead and clean up; it only takes one
    /// of our own versions.
    [[nodiscard]] bool isAsideTaken() const {
        struct stat about{};
        return fstatat(folder.number(), aside.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0 &&
               errno == ENOENT;
    }

    void removeAside() const { unlinkat(folder.number(), aside.c_str(), 0); }

    [[nodiscard]] Replacement unknown(int error) const { return {End::unknown, error, aside}; }
};

/// The version aside; none when it cannot be read.
std::optional<FileVersion> versionAside(const Place& place) {
    try {
        return std::optional<FileVersion>{std::in_place, place.folder, place.aside};
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

/// Puts back what came `out` when `placed` was put in, whatever another program writes meanwhile.
/// `out` is none when it could not be read: it goes back all the same. Gives back `reason` when
/// all is as it was.
Replacement putBack(const Place& place, const FileVersion& ours, std::optional<FileVersion> out,
                    const Replacement& reason) {
    if (const int error = place.swap()) {
        return place.unknown(error);
    }
    if (place.hasAside(ours)) {
        place.removeAside();
        return reason;
    }
    // Another program's newer version came out. It goes back too, and then the one before it has
    // been replaced by its writer, not by us.
    for (;;) {
        FileVersion newer{place.folder, place.aside};
        if (const int error = out ? place.swap() : EIO) {
            return place.unknown(error);
        }
        if (place.hasAside(*out)) {
            place.removeAside();
            return outrun();
        }
        out.emplace(std::move(newer));
    }
}

/// The first swap failed. That it was not done may be said of a disk far away without being true.
Replacement notSwapped(const Place& place, const FileVersion& ours, int error) {
    if (!place.hasAside(ours)) {
        return place.unknown(error);
    }
    place.removeAside();
    return error == ENOENT ? outrun() : failed(error);
}

Replacement replaceBySwap(const Place& place, const FileVersion& old, const FileVersion& ours,
                          const ReadLease& lease) {
    Replacement reason = outrun();
    try {
        const bool isOld = place.hasAside(old) || place.isAsideTaken();
        if (isOld && !flushFolder(place.folder.number())) {
            reason = failed(errno);
        } else if (isOld && !lease.isAwaited()) {
            place.removeAside();
            return done();
        }
    } catch (const std::system_error& error) {
        reason = failed(error.code().value());
    }
    return putBack(place, ours, versionAside(place), reason);
}

Replacement replaceByRename(const Place& place, const FileVersion& ours) {
    if (renameat(place.folder.number(), place.aside.c_str(), place.folder.number(),
                 place.name.c_str()) != 0) {
        return notSwapped(place, ours, errno);
    }
    // The old version is gone by now, so what cannot be flushed cannot be taken back.
    return flushFolder(place.folder.number()) ? done() : Replacement{End::unknown, errno, {}};
}

bool cannotSwap(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

Replacement replaceIn(const Place& place, const FileVersion& old, const FileVersion& ours,
                      const ReadLease& lease, Replacing how) {
    try {
        if (how == Replacing::byRename) {
            return replaceByRename(place, ours);
        }
        const int error = place.swap();
        if (cannotSwap(error)) {
            return replaceByRename(place, ours);
        }
        return error == 0 ? replaceBySwap(place, old, ours, lease) : notSwapped(place, ours, error);
    } catch (const std::system_error& error) {
        return place.unknown(error.code().value());
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

/// The end when a call fails before anything was changed.
Replacement unchanged(int error) {
    const bool isNoFileNow = error == ENOENT || error == ELOOP;
    return isNoFileNow ? outrun() : failed(error);
}

Replacement replaceIn(const FileDescriptor& folder, const std::string& name,
                      std::string_view expected, std::string_view contents, Replacing how,
                      std::chrono::milliseconds patience) {
    struct stat about{};
    if (fstatat(folder.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0) {
        return unchanged(errno);
    }
    // A file that may not be written is not to be replaced, though its folder would allow it.
    if (faccessat(folder.number(), name.c_str(), W_OK, AT_EACCESS) != 0) {
        return unchanged(errno);
    }
    removeLeftovers(folder);
    const HiddenFile fresh{folder, contents, S_IRUSR | S_IWUSR};
    if (fresh.error() != 0) {
        return failed(fresh.error());
    }
    if (fchmod(fresh.number(), about.st_mode & 07777) != 0) {
        return failed(errno);
    }
    // Only now, for the disk has taken the new version already: nobody waits for that.
    if (const int error = lockFolder(folder, patience)) {
        return failed(error);
    }
    const FileVersion old{folder, name};
    const FileVersion ours{folder, fresh.name()};
    const ReadLease lease{old.number(), patience};
    if (lease.isRefused()) {
        return failed(EBUSY);
    }
    if (old.contents() != expected || !old.standsAs(folder, name)) {
        return outrun();
    }
    const Place place{folder, name, asideName(expected, contents)};
    if (renameat(folder.number(), fresh.name().c_str(), folder.number(), place.aside.c_str()) !=
        0) {
        return unchanged(errno);
    }
    return replaceIn(place, old, ours, lease, how);
}

} // namespace

Replacement replaceFile(const std::string& path, std::string_view expected,
                        std::string_view contents, Replacing how,
                        std::chrono::milliseconds patience) {
    const std::unique_ptr<char, decltype(&std::free)> resolved{realpath(path.c_str(), nullptr),
                                                               &std::free};
    if (!resolved) {
        return unchanged(errno);
    }
    const std::string real = resolved.get();
    const FileDescriptor folder{open(parentOf(real).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!folder) {
        return unchanged(errno);
    }
    const std::string name = real.substr(real.find_last_of('/') + 1);
    try {
        return replaceIn(folder, name, expected, contents, how, patience);
    } catch (const std::system_error& error) {
        return unchanged(error.code().value());
    }
}

} // namespace velmiro::local
