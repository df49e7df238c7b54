#include "velmiro_mcp/platform/local/files/FileReplacement.hpp"

#include "velmiro_mcp/platform/local/files/FileVersion.hpp"
#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"
#include "velmiro_mcp/platform/local/files/ReadLease.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// The new version is written under a hidden name, and then the two names are exchanged in one step
// (RENAME_EXCHANGE). Only then is the old version known for certain: if it is not the file that was
// read, another program was faster, and its version is restored. That program may replace the file
// again in the meantime, so restoring is another exchange, repeated until what comes out is what
// went in before.
//
// Every call after the exchange may fail and leave its question unanswered. So both versions are
// held open from before the exchange, and a file is removed only if it is known to be one of them.
// In any doubt, everything stays where it is.
//
// During a conflict, other programs briefly see the wrong version. A check before the exchange
// makes that rare, a lock on the folder excludes this program's other processes, and a lease on the
// old file excludes programs that write in place.

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

/// The name of a file in its folder, and the hidden name where its other version is.
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

    /// Returns whether the hidden name holds this version. Throws std::system_error if it cannot be
    /// read.
    [[nodiscard]] bool hasAside(const FileVersion& version) const {
        return version.isUnchangedAt(folder, aside);
    }

    /// Returns whether the hidden name is gone. Another machine that shares the folder may think
    /// this process dead and clean up, but it removes only versions of ours.
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

/// Returns the version under the hidden name; nullopt if it cannot be read.
std::optional<FileVersion> versionAside(const NamePair& names) {
    try {
        return FileVersion{names.folder, names.aside};
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

/// Restores the version that came `out` when `ours` went in, whatever another program writes in the
/// meantime; also if `out` is nullopt because it could not be read. Returns `reason` if the file is
/// as it was before.
Replacement putBack(const NamePair& names, const FileVersion& ours, std::optional<FileVersion> out,
                    const Replacement& reason) {
    if (const std::error_code error = names.swap()) {
        return names.unknown(error);
    }
    if (names.hasAside(ours)) {
        names.removeAside();
        return reason;
    }
    // Another program's newer version came out. It is restored as well; the version before it was
    // then replaced by that program, not by us.
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

/// Handles a failed first swap. A network file system may report failure although it was done.
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
    } catch (const std::bad_alloc&) {
        reason = failed(std::errc::not_enough_memory);
    }
    return putBack(names, ours, versionAside(names), reason);
}

/// A second, hidden name for the file while it is replaced by a rename, if the file system has hard
/// links. It is removed with this object.
class SpareName {
public:
    SpareName(const NamePair& names, std::string spare)
        : folder_{names.folder},
          name_{std::move(spare)},
          exists_{linkat(folder_.get(), names.name.c_str(), folder_.get(), name_.c_str(), 0) == 0} {
    }
    SpareName(const SpareName&) = delete;
    SpareName& operator=(const SpareName&) = delete;
    ~SpareName() {
        if (exists_) {
            unlinkat(folder_.get(), name_.c_str(), 0);
        }
    }

    [[nodiscard]] bool exists() const { return exists_; }

    /// Makes this the file's only name.
    [[nodiscard]] std::error_code becomeNameOf(const NamePair& names) {
        const bool renamed =
            renameat(folder_.get(), name_.c_str(), folder_.get(), names.name.c_str()) == 0;
        exists_ = exists_ && !renamed;
        return renamed ? std::error_code{} : lastError();
    }

private:
    const Descriptor& folder_;
    std::string name_;
    bool exists_;
};

/// A program that waits for the lease has already opened the old version, and would write into a
/// file without a name. So the old version is restored for it.
Replacement replaceByRename(const NamePair& names, const FileVersion& old, const FileVersion& ours,
                            const ReadLease& lease) {
    SpareName spare{names, asideName(old.contents(), ours.contents())};
    if (lease.isBeingBroken() || (spare.exists() && !old.isUnchangedAt(names.folder, names.name))) {
        names.removeAside();
        return conflict();
    }
    if (renameat(names.folder.get(), names.aside.c_str(), names.folder.get(), names.name.c_str()) !=
        0) {
        return notSwapped(names, ours, lastError());
    }
    // Without the spare name the old version is gone by now, and a failed flush cannot be undone.
    const std::error_code error = flushFolder(names.folder);
    if (spare.exists() && lease.isBeingBroken() && ours.isUnchangedAt(names.folder, names.name)) {
        const std::error_code restoring = spare.becomeNameOf(names);
        return restoring ? Replacement{End::unknown, restoring, {}} : conflict();
    }
    return error ? Replacement{End::unknown, error, {}} : done();
}

bool cannotSwap(const std::error_code& error) {
    return error == std::errc::invalid_argument || error == std::errc::function_not_supported ||
           error == std::errc::operation_not_supported;
}

/// `doubt` is returned if nobody knows which version has which name. It is made beforehand: later
/// there may be no memory for it.
Replacement replaceIn(const NamePair& names, const FileVersion& old, const FileVersion& ours,
                      const ReadLease& lease, Replacing how, Replacement doubt) {
    try {
        if (how == Replacing::byRename) {
            return replaceByRename(names, old, ours, lease);
        }
        const std::error_code error = names.swap();
        if (cannotSwap(error)) {
            return replaceByRename(names, old, ours, lease);
        }
        return error ? notSwapped(names, ours, error) : replaceBySwap(names, old, ours, lease);
    } catch (const std::system_error& error) {
        doubt.error = error.code();
    } catch (const std::bad_alloc&) {
        doubt.error = std::make_error_code(std::errc::not_enough_memory);
    }
    return doubt;
}

/// Returns false if another program keeps the folder locked for longer than `patience`.
bool lockFolder(const Descriptor& folder, std::chrono::milliseconds patience) {
    constexpr std::chrono::milliseconds pause{1};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(folder.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            return true; // the file system has no locks: continue without
        }
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

/// Returns how a replacement ends if a call fails before anything was changed.
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
    // A read-only file must not be replaced, although its folder would allow it.
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
    // Only now, as writing the new version to disk is slow: no other process waits for that.
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
    Replacement doubt = names.unknown({});
    if (renameat(folder.get(), fresh.name().c_str(), folder.get(), names.aside.c_str()) != 0) {
        return unchanged(lastError());
    }
    return replaceIn(names, old, ours, lease, how, std::move(doubt));
}

} // namespace

Replacement replaceFile(const std::string& path, std::string_view expected,
                        std::string_view contents, Replacing how,
                        std::chrono::milliseconds patience) {
    try {
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
        return replaceIn(folder, name, expected, contents, how, patience);
    } catch (const std::system_error& error) {
        return unchanged(error.code());
    } catch (const std::bad_alloc&) {
        return failed(std::errc::not_enough_memory);
    }
}

} // namespace velmiro::local
