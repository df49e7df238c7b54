#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <dirent.h>

namespace velmiro::local {

/// Larger files are not read. Ten thousand events fill less than a third of this.
inline constexpr std::size_t largestItem = 32UL << 20;

using MCPStdio::Descriptor;

/// A name in a folder, with the kind that the listing gives without a further call.
struct FolderEntry {
    enum class Kind {
        file,   ///< a regular file
        folder, ///< a folder
        link,   ///< a symbolic link
        other,  ///< a pipe, a socket or a device, or not known to the file system
    };

    std::string name;
    Kind kind = Kind::other;
};

struct CloseListing {
    void operator()(DIR* listing) const noexcept;
};
using Listing = std::unique_ptr<DIR, CloseListing>;

/// Begins to list a folder, for readdir(3). Returns null, with errno set, if that fails.
Listing openListing(int folder);

/// A folder, opened once for all its files, so that its path is not resolved for each of them.
class OpenFolder {
public:
    /// Throws std::system_error if it cannot be opened, read or entered.
    explicit OpenFolder(std::string path);

    /// Returns the path as it was given.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

    /// Returns the names in it, except those that begin with a dot, in byte order. Throws
    /// std::system_error if they cannot be read.
    [[nodiscard]] std::vector<std::string> visibleNames() const;

    /// Returns the same names in any order, with their kinds.
    [[nodiscard]] std::vector<FolderEntry> visibleEntries() const;

    /// Returns the descriptor for system calls that accept a folder.
    [[nodiscard]] int descriptor() const noexcept { return descriptor_.get(); }

private:
    std::string path_;
    Descriptor descriptor_;
};

/// Returns whether nothing has this absolute path. A dangling link is something, there or above it:
/// the user means what it should lead to. Throws std::system_error if the machine fails.
bool isMissing(const std::string& path);

/// Opens a folder; nullopt if it is missing. Throws std::system_error if it is not, but cannot be
/// opened as a folder.
std::optional<OpenFolder> openFolderIfThere(const std::string& path);

/// Differs whenever a file's contents do: a file that replaces it has another number, and the
/// system sets the time of change at every write, which no program can prevent.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t number = 0; ///< of the inode
    std::int64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970
    std::int64_t changed = 0;  ///< likewise; also set by a rename or a change of permissions

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

// Access to a file ends in one of three ways: it is there; it is not (gone, no permission, or not
// of the kind asked for); or the machine failed (no descriptors or memory left, a failing disk).
// The last says nothing about the file, so the functions below throw std::system_error: taken for
// an absence, it would make a full calendar look empty.

/// Returns whether an error is about the file itself, not about the machine.
bool isAboutTheFile(const std::error_code& error);

/// Returns the stamp of the file or folder at a path, or of a name in a folder, following links;
/// nullopt if there is none.
std::optional<FileStamp> stampOf(const std::string& path);
std::optional<FileStamp> stampOf(const OpenFolder& folder, const std::string& name);

/// Opens a file for reading, by its name in a folder or by its path (AT_FDCWD), with further flags
/// of open(2). Does not wait for a writer. Returns none, with errno set, if it cannot be opened.
Descriptor openForReading(int folder, const std::string& name, int flags = 0);

/// Returns the contents of an open file from its beginning; nullopt if it is not a regular file or
/// has more than `largest` bytes.
std::optional<std::string> readOpenFile(const Descriptor& file, std::size_t largest);

/// Returns the contents of the file at a path, following links; nullopt also if it is gone or the
/// user may not read it.
std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest);

/// Does the same for a name in a folder, without following a symbolic link.
std::optional<std::string> readRegularFile(const Descriptor& folder, const std::string& name,
                                           std::size_t largest);

/// The contents of a file, with its stamp from before the first byte was read.
struct StampedContents {
    FileStamp stamp;
    std::string bytes;
};

/// Does the same as `readRegularFile` for a name in a folder, following links.
std::optional<StampedContents> readStamped(const OpenFolder& folder, const std::string& name,
                                           std::size_t largest);

bool isFolder(const std::string& path);

/// Returns whether it is a folder that this process may read and enter.
bool isReadableFolder(const std::string& path);

/// Returns whether it may also write there.
bool isWritableFolder(const std::string& path);

/// Creates a folder that only the user can enter, and any missing ones above it, and flushes them
/// to disk. Returns false, with errno set, if that fails.
bool makeFolders(const std::string& path);

/// Flushes the folder's entries to disk. Succeeds if the file system does not support that.
std::error_code flushFolder(const Descriptor& folder);
std::error_code flushFolder(const std::string& path);

/// Returns the folder that holds the file with this absolute path; for the root, the root.
std::string parentOf(const std::string& path);

} // namespace velmiro::local
