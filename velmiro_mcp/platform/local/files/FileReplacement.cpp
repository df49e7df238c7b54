#include "velmiro_mcp/platform/local/files/FileReplacement.hpp"

#include "velmiro_mcp/platform/local/files/FileVersion.hpp"
#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"
#include "velmiro_mcp/platform/local/files/ReadLease.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

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
#include <unistd.h>

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

Replacement conflict() {
    return {End::conflict, {}, {}};
}

Replacement failed(const std::error_code& error) {
    return {End::failed, error, {}};
}

Replacement failed(std::errc error) {
    return failed(std::make_error_code(error));
}

/// The name of a file in its folder, and the hidden name of its other version.
struct NamePair {
    const Descriptor& folder;
    std::string name;
    std::string aside;

    [[nodiscard]] std::error_code swap() const {
        return renameat2(folder.get(), aside.c_str(), folder.get(), name.c_str(),
                         RENAME_EXCHANGE) == 0
                   ? std::error_code{}
                   : lastError();
    }

    /// Throws std::system_error when it cannot be told.
    [[nodiscard]] bool hasAside(const FileVersion& version) const {
        return version.isUnchangedAt(folder, aside);
    }

    /// Another machine that shares the folder may take us for dead and clean up; it only takes one
    /// of our own versions.
    [[nodiscard]] bool isAsideTaken() const {
        struct stat about{};
        return fstatat(folder.get(), aside.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0 &&
               errno == ENOENT;
    }

    void removeAside() const { unlinkat(folder.get(), aside.c_str(), 0); }

    [[nodiscard]] Replacement unknown(const std::error_code& error) const {
        return {End::unknown, error, aside};
    }
};

/// The version aside; none when it cannot be read.
std::optional<FileVersion> versionAside(const NamePair& names) {
    try {
        return FileVersion{names.folder, names.aside};
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

/// Puts back what came `out` when `placed` was put in, whatever another program writes meanwhile.
/// `out` is none when it could not be read: it goes back all the same. Gives back `reason` when
/// all is as it was.
Replacement putBack(const NamePair& names, const FileVersion& ours, std::optional<FileVersion> out,
                    const Replacement& reason) {
    if (const std::error_code error = names.swap()) {
        return names.unknown(error);
    }
    if (names.hasAside(ours)) {
        names.removeAside();
        return reason;
    }
    // Another program's newer version came out. It goes back too, and then the one before it has
    // been replaced by its writer, not by us.
    for (;;) {
        FileVersion newer{names.folder, names.aside};
        if (!out) {
            return names.unknown(std::make_error_code(std::errc::io_error));
        }
        if (const std::error_code error = names.swap()) {
            return names.unknown(error);
        }
        if (names.hasAside(*out)) {
            names.removeAside();
            return conflict();
        }
        out = std::move(newer);
    }
}

/// The first swap failed. That it was not done may be said of a disk far away without being true.
Replacement notSwapped(const NamePair& names, const FileVersion& ours,
                       const std::error_code& error) {
    if (!names.hasAside(ours)) {
        return names.unknown(error);
    }
    names.removeAside();
    return error == std::errc::no_such_file_or_directory ? conflict() : failed(error);
}

Replacement replaceBySwap(const NamePair& names, const FileVersion& old, const FileVersion& ours,
                          const ReadLease& lease) {
    Replacement reason = conflict();
    try {
        if (names.hasAside(old) || names.isAsideTaken()) {
            if (const std::error_code error = flushFolder(names.folder)) {
                reason = failed(error);
            } else if (!lease.isBeingBroken()) {
                names.removeAside();
                return done();
            }
        }
    } catch (const std::system_error& error) {
        reason = failed(error.code());
    }
    return putBack(names, ours, versionAside(names), reason);
}

Replacement replaceByRename(const NamePair& names, const FileVersion& ours) {
    if (renameat(names.folder.get(), names.aside.c_str(), names.folder.get(), names.name.c_str()) !=
        0) {
        return notSwapped(names, ours, lastError());
    }
    // The old version is gone by now, so what cannot be flushed cannot be taken back.
    const std::error_code error = flushFolder(names.folder);
    return error ? Replacement{End::unknown, error, {}} : done();
}

bool cannotSwap(const std::error_code& error) {
    return error == std::errc::invalid_argument || error == std::errc::function_not_supported ||
           error == std::errc::operation_not_supported;
}

Replacement replaceIn(const NamePair& names, const FileVersion& old, const FileVersion& ours,
                      const ReadLease& lease, Replacing how) {
    try {
        if (how == Replacing::byRename) {
            return replaceByRename(names, ours);
        }
        const std::error_code error = names.swap();
        if (cannotSwap(error)) {
            return replaceByRename(names, ours);
        }
        return error ? notSwapped(names, ours, error) : replaceBySwap(names, old, ours, lease);
    } catch (const std::system_error& error) {
        return names.unknown(error.code());
    }
}

/// False when another program keeps the folder locked for longer than `patience`.
bool lockFolder(const Descriptor& folder, std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds pause{1};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            return true; // no locks on this file system: go without
        }
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

/// The end when a call fails before anything was changed.
Replacement unchanged(const std::error_code& error) {
    const bool isNoFileNow = error == std::errc::no_such_file_or_directory ||
                             error == std::errc::too_many_symbolic_link_levels;
    return isNoFileNow ? conflict() : failed(error);
}

Replacement replaceIn(const Descriptor& folder, const std::string& name, std::string_view expected,
                      std::string_view contents, Replacing how,
                      std::chrono::milliseconds patience) {
    struct stat about{};
    if (fstatat(folder.get(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0) {
        return unchanged(lastError());
    }
    // A file that may not be written is not to be replaced, though its folder would allow it.
    if (faccessat(folder.get(), name.c_str(), W_OK, AT_EACCESS) != 0) {
        return unchanged(lastError());
    }
    removeLeftovers(folder);
    const HiddenFile fresh{folder, contents, S_IRUSR | S_IWUSR};
    if (fresh.error()) {
        return failed(fresh.error());
    }
    if (fchmod(fresh.descriptor(), about.st_mode & 07777) != 0) {
        return failed(lastError());
    }
    // Only now, for the disk has taken the new version already: nobody waits for that.
    if (!lockFolder(folder, patience)) {
        return failed(std::errc::device_or_resource_busy);
    }
    const FileVersion old{folder, name};
    const FileVersion ours{folder, fresh.name()};
    const ReadLease lease{old.descriptor(), patience};
    if (lease.isRefused()) {
        return failed(std::errc::device_or_resource_busy);
    }
    if (old.contents() != expected || !old.isUnchangedAt(folder, name)) {
        return conflict();
    }
    const NamePair names{folder, name, asideName(expected, contents)};
    if (renameat(folder.get(), fresh.name().c_str(), folder.get(), names.aside.c_str()) != 0) {
        return unchanged(lastError());
    }
    return replaceIn(names, old, ours, lease, how);
}

} // namespace

Replacement replaceFile(const std::string& path, std::string_view expected,
                        std::string_view contents, Replacing how,
                        std::chrono::milliseconds patience) {
    const std::unique_ptr<char, decltype(&std::free)> resolved{realpath(path.c_str(), nullptr),
                                                               &std::free};
    if (!resolved) {
        return unchanged(lastError());
    }
    const std::string real = resolved.get();
    const Descriptor folder{open(parentOf(real).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!folder) {
        return unchanged(lastError());
    }
    const std::string name = real.substr(real.find_last_of('/') + 1);
    try {
        return replaceIn(folder, name, expected, contents, how, patience);
    } catch (const std::system_error& error) {
        return unchanged(error.code());
    }
}

} // namespace velmiro::local
