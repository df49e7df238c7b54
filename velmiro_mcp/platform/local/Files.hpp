#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace velmiro::local {

/// An open file or folder; closed with its owner.
class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) noexcept : number_{number} {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_{other.number_} { other.number_ = -1; }
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }

    [[nodiscard]] int number() const noexcept { return number_; }
    explicit operator bool() const noexcept { return number_ >= 0; }

private:
    int number_;
};

/// A folder, opened once for all that is asked of it: the way there need not be gone for each file.
class OpenFolder {
public:
    /// False as a bool when it cannot be opened; `errno` says why.
    explicit OpenFolder(std::string path);

    /// As it was given.
    [[nodiscard]] const std::string& path() const noexcept { return path_; }
    explicit operator bool() const noexcept { return static_cast<bool>(descriptor_); }

    /// The names in it, byte by byte in order, without those that begin with a dot; none when it is
    /// not open.
    [[nodiscard]] std::vector<std::string> visibleNames() const;

    /// For calls that take a folder; what they find there is nothing when it is not open.
    [[nodiscard]] int number() const noexcept { return descriptor_.number(); }

private:
    std::string path_;
    FileDescriptor descriptor_;
};

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

/// The stamp of the file or folder that a path, or a name in a folder, leads to; nothing when there
/// is none.
std::optional<FileStamp> stampOf(const std::string& path);
std::optional<FileStamp> stampOf(const OpenFolder& folder, const std::string& name);

/// The contents of a regular file of at most `largest` bytes, found likewise; nothing, without
/// waiting and without reading, when it is anything else: larger, a folder, a pipe, unreadable,
/// gone. With `stamp`, also its stamp from before the first byte was read.
std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest,
                                           FileStamp* stamp = nullptr);
std::optional<std::string> readRegularFile(const OpenFolder& folder, const std::string& name,
                                           std::size_t largest, FileStamp* stamp);

/// The same, but a symbolic link is not followed.
std::optional<std::string> readRegularFile(const FileDescriptor& folder, const std::string& name,
                                           std::size_t largest);

bool isFolder(const std::string& path);

/// Whether this process may read and enter the folder.
bool isReadableFolder(const std::string& path);

/// Whether it may write there as well.
bool isWritableFolder(const std::string& path);

/// Makes a folder that only the user can enter, and those above it that are missing, and has them
/// last.
/// False, with errno set, when there is none afterwards.
bool makeFolders(const std::string& path);

/// Makes what was done to the names in a folder last. False, with errno set, when it failed; a file
/// system that cannot be asked for it counts as done.
bool flushFolder(int folder);
bool flushFolder(const std::string& path);

/// The folder in which something with an absolute path lies; of the root, the root.
std::string parentOf(const std::string& path);

} // namespace velmiro::local
