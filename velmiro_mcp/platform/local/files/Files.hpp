#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace velmiro::local {

/// Larger files are not read: ten thousand events do not fill a third of this.
inline constexpr std::size_t largestItem = 32UL << 20;

using MCPStdio::Descriptor;

/// A folder, opened once for all that is asked of it: the way there need not be gone for each file.
class OpenFolder {
public:
    /// Throws std::system_error when it cannot be opened, or what it holds may not be looked at.
    explicit OpenFolder(std::string path);

    /// As it was given.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }

    /// The names in it, byte by byte in order, without those that begin with a dot. Throws
    /// std::system_error when they cannot be read.
    [[nodiscard]] std::vector<std::string> visibleNames() const;

    /// For calls that take a folder.
    [[nodiscard]] int descriptor() const noexcept { return descriptor_.get(); }

private:
    std::string path_;
    Descriptor descriptor_;
};

/// None when there is nothing of that name, not even a link that leads nowhere. Throws
/// std::system_error when there is, and it cannot be opened.
std::optional<OpenFolder> openFolderIfThere(const std::string& path);

/// What changes when a file's contents do: another file in its place has another number, and the
/// system sets the time of change whenever one is written, whatever its writer wishes.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970
    std::int64_t changed = 0;  ///< likewise; a rename or a change of permissions counts too

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

// A look at a file ends in one of three ways: it is there, it is not (gone, closed to the user, no
// such thing as was asked for), or the machine could not look (no descriptors or memory left, a
// failing disk). The last says nothing of the file, so it is thrown, as std::system_error: taken
// for an absence it would make a full calendar an empty one.

/// Whether an error of a look at a file says something of that file, not of the machine.
bool isAboutTheFile(const std::error_code& error);

/// The stamp of the file or folder that a path, or a name in a folder, leads to; none when there is
/// none.
std::optional<FileStamp> stampOf(const std::string& path);
std::optional<FileStamp> stampOf(const OpenFolder& folder, const std::string& name);

/// Opens a file found from a folder (AT_FDCWD for a path) for reading, without waiting for anybody,
/// with further flags of open(2). None, with errno set, when it cannot be opened.
Descriptor openForReading(int folder, const std::string& name, int flags = 0);

/// The contents of an open regular file of at most `largest` bytes, from its beginning; none when
/// it is anything else.
std::optional<std::string> readOpenFile(const Descriptor& file, std::size_t largest);

/// The same of the file that a path leads to; none also when it is gone or closed to the user.
std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest);

/// The same of a name in a folder; a symbolic link is not followed.
std::optional<std::string> readRegularFile(const Descriptor& folder, const std::string& name,
                                           std::size_t largest);

/// The contents of a file, and its stamp from before the first byte was read.
struct StampedContents {
    FileStamp stamp;
    std::string bytes;
};

/// The same as `readRegularFile`, of what a name in a folder leads to.
std::optional<StampedContents> readStamped(const OpenFolder& folder, const std::string& name,
                                           std::size_t largest);

bool isFolder(const std::string& path);

/// Whether this process may read and enter the folder.
bool isReadableFolder(const std::string& path);

/// Whether it may write there as well.
bool isWritableFolder(const std::string& path);

/// Makes a folder that only the user can enter, and those above it that are missing, and flushes
/// them to disk. False when that failed.
bool makeFolders(const std::string& path);

/// Flushes the entries of a folder to disk, where the file system can be asked for that.
std::error_code flushFolder(const Descriptor& folder);
std::error_code flushFolder(const std::string& path);

/// The folder in which something with an absolute path lies; of the root, the root.
std::string parentOf(const std::string& path);

} // namespace velmiro::local
