#include "velmiro_mcp/platform/local/files/Files.hpp"

#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmiro::local {
namespace {

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

FileStamp stampOf(const struct stat& about) {
    return {about.st_dev, about.st_ino, about.st_size, nanoseconds(about.st_mtim),
            nanoseconds(about.st_ctim)};
}

constexpr int openingFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

FolderEntry::Kind kindOf(unsigned char type) {
    switch (type) {
    case DT_REG:
        return FolderEntry::Kind::file;
    case DT_DIR:
        return FolderEntry::Kind::folder;
    case DT_LNK:
        return FolderEntry::Kind::link;
    default:
        return FolderEntry::Kind::other;
    }
}

/// Throws the last error unless it means that the file is not there.
void throwUnlessAbsent() {
    const std::error_code error = lastError();
    if (!isAboutTheFile(error)) {
        throw std::system_error{error};
    }
}

std::optional<FileStamp> stampFrom(int result, const struct stat& about) {
    if (result != 0) {
        throwUnlessAbsent();
        return std::nullopt;
    }
    return stampOf(about);
}

std::string readToEnd(const Descriptor& file, std::size_t expected) {
    // One byte more than expected detects the end; a growing file is not followed forever.
    std::string contents(expected + 1, '\0');
    std::size_t length = 0;
    while (length < contents.size()) {
        const ssize_t count = pread(file.get(), contents.data() + length, contents.size() - length,
                                    static_cast<off_t>(length));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throwLastError();
        }
        if (count == 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    contents.resize(length);
    return contents;
}

std::optional<StampedContents> readOpenStamped(const Descriptor& file, std::size_t largest) {
    struct stat about{};
    if (fstat(file.get(), &about) != 0) {
        throwLastError();
    }
    const auto size = static_cast<std::size_t>(about.st_size);
    if (!S_ISREG(about.st_mode) || size > largest) {
        return std::nullopt;
    }
    return StampedContents{stampOf(about), readToEnd(file, size)};
}

/// Returns whether an error of an open file says that its name was given to another one. Network
/// file systems and FUSE forget the old file then.
bool isReplaced(const std::error_code& error) {
    return error.value() == ENOENT || error.value() == ESTALE;
}

/// Opens a file with `openForReading` and reads it; nullopt if it is not there.
std::optional<StampedContents> readNamed(int folder, const std::string& name, std::size_t largest,
                                         int flags = 0) {
    constexpr int tries = 10;
    for (int attempt = 1;; ++attempt) {
        const Descriptor file = openForReading(folder, name, flags);
        if (!file) {
            throwUnlessAbsent();
            return std::nullopt;
        }
        try {
            return readOpenStamped(file, largest);
        } catch (const std::system_error& error) {
            if (!isReplaced(error.code()) || attempt == tries) {
                throw;
            }
        }
    }
}

std::optional<std::string> bytesOf(std::optional<StampedContents> read) {
    return read ? std::optional{std::move(read->bytes)} : std::nullopt;
}

bool isFolderWith(const std::string& path, int rights) {
    struct stat about{};
    const bool allowed = stat(path.c_str(), &about) == 0 &&
                         faccessat(AT_FDCWD, path.c_str(), rights, AT_EACCESS) == 0;
    if (!allowed) {
        throwUnlessAbsent();
    }
    return allowed && S_ISDIR(about.st_mode);
}

} // namespace

bool isAboutTheFile(const std::error_code& error) {
    constexpr std::array reasons{ENOENT, ENOTDIR, EACCES, EPERM,       ELOOP,
                                 ENXIO,  ENODEV,  EROFS,  ENAMETOOLONG};
    return std::ranges::find(reasons, error.value()) != reasons.end();
}

OpenFolder::OpenFolder(std::string path)
    : path_{std::move(path)},
      descriptor_{open(path_.c_str(), openingFolder)} {
    // A folder that may be read but not entered yields names, but no files.
    if (!descriptor_ || faccessat(descriptor(), ".", R_OK | X_OK, AT_EACCESS) != 0) {
        throwLastError();
    }
}

bool isMissing(const std::string& path) {
    struct stat about{};
    std::string above = path;
    while (lstat(above.c_str(), &about) != 0) {
        throwUnlessAbsent();
        if (errno != ENOENT) {
            return false;
        }
        above = parentOf(above);
    }
    return above != path && isFolder(above);
}

std::optional<OpenFolder> openFolderIfThere(const std::string& path) {
    try {
        return OpenFolder{path};
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory) {
            throw;
        }
    }
    if (isMissing(path)) {
        return std::nullopt;
    }
    return OpenFolder{path}; // a dangling link, unless it was created meanwhile
}

std::vector<FolderEntry> OpenFolder::visibleEntries() const {
    const Listing listing = openListing(descriptor());
    if (!listing) {
        throwLastError();
    }
    std::vector<FolderEntry> entries;
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(listing.get());
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = &entry->d_name[0];
        if (!name.starts_with('.')) {
            entries.push_back({std::string{name}, kindOf(entry->d_type)});
        }
    }
    if (errno != 0) {
        throwLastError();
    }
    return entries;
}

void CloseListing::operator()(DIR* listing) const noexcept {
    closedir(listing);
}

Listing openListing(int folder) {
    Descriptor again{openat(folder, ".", openingFolder)};
    Listing listing{again ? fdopendir(again.get()) : nullptr};
    if (listing) {
        static_cast<void>(again.release()); // closed with the listing
    }
    return listing;
}

std::vector<std::string> OpenFolder::visibleNames() const {
    std::vector<std::string> names;
    for (FolderEntry& entry : visibleEntries()) {
        names.push_back(std::move(entry.name));
    }
    std::ranges::sort(names);
    return names;
}

std::optional<FileStamp> stampOf(const std::string& path) {
    struct stat about{};
    return stampFrom(stat(path.c_str(), &about), about);
}

std::optional<FileStamp> stampOf(const OpenFolder& folder, const std::string& name) {
    struct stat about{};
    return stampFrom(fstatat(folder.descriptor(), name.c_str(), &about, 0), about);
}

Descriptor openForReading(int folder, const std::string& name, int flags) {
    // O_NONBLOCK: opening a pipe without a writer would block forever.
    const int all = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags;
    for (;;) {
        Descriptor file{openat(folder, name.c_str(), all)};
        if (file || errno != EINTR) {
            return file;
        }
    }
}

std::optional<std::string> readOpenFile(const Descriptor& file, std::size_t largest) {
    return bytesOf(readOpenStamped(file, largest));
}

std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest) {
    return bytesOf(readNamed(AT_FDCWD, path, largest));
}

std::optional<std::string> readRegularFile(const Descriptor& folder, const std::string& name,
                                           std::size_t largest) {
    return bytesOf(readNamed(folder.get(), name, largest, O_NOFOLLOW));
}

std::optional<StampedContents> readStamped(const OpenFolder& folder, const std::string& name,
                                           std::size_t largest) {
    return readNamed(folder.descriptor(), name, largest);
}

bool isFolder(const std::string& path) {
    return isFolderWith(path, F_OK);
}

bool isReadableFolder(const std::string& path) {
    return isFolderWith(path, R_OK | X_OK);
}

bool isWritableFolder(const std::string& path) {
    return isFolderWith(path, R_OK | W_OK | X_OK);
}

bool makeFolders(const std::string& path) {
    if (isFolder(path)) {
        return true;
    }
    const std::string parent = parentOf(path);
    if (!makeFolders(parent)) {
        return false;
    }
    std::error_code error;
    if (mkdir(path.c_str(), S_IRWXU) == 0) {
        error = flushFolder(parent);
    } else if (error = lastError(); error == std::errc::file_exists) {
        // Another process may have made it at the same time.
        error =
            isFolder(path) ? std::error_code{} : std::make_error_code(std::errc::not_a_directory);
    }
    errno = error.value();
    return !error;
}

std::error_code flushFolder(const Descriptor& folder) {
    const bool isDone = fsync(folder.get()) == 0 || errno == EINVAL || errno == ENOTSUP;
    return isDone ? std::error_code{} : lastError();
}

std::error_code flushFolder(const std::string& path) {
    const Descriptor folder{open(path.c_str(), openingFolder)};
    return folder ? flushFolder(folder) : lastError();
}

std::string parentOf(const std::string& path) {
    return path.substr(0, std::max<std::size_t>(path.find_last_of('/'), 1));
}

} // namespace velmiro::local
