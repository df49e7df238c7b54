#include "velmiro_mcp/platform/local/Files.hpp"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace velmiro::local {
namespace {

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

FileStamp stampOf(const struct stat& about) {
    return {about.st_dev, about.st_ino, about.st_size, nanoseconds(about.st_mtim),
            nanoseconds(about.st_ctim)};
}

// O_NONBLOCK: opening a pipe that nobody writes would wait for ever.
constexpr int readingOnly = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int openingFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

std::optional<std::string> contentsOf(const FileDescriptor& file, std::size_t largest,
                                      FileStamp* stamp) {
    struct stat about{};
    if (!file || fstat(file.number(), &about) != 0 || !S_ISREG(about.st_mode) ||
        static_cast<std::size_t>(about.st_size) > largest) {
        return std::nullopt;
    }
    if (stamp != nullptr) {
        *stamp = stampOf(about);
    }
    // One byte more than expected shows the end without a growing file being followed for ever.
    std::string contents(static_cast<std::size_t>(about.st_size) + 1, '\0');
    std::size_t length = 0;
    while (length < contents.size()) {
        const ssize_t count =
            read(file.number(), contents.data() + length, contents.size() - length);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    contents.resize(length);
    return contents;
}

} // namespace

OpenFolder::OpenFolder(std::string path)
    : path_{std::move(path)},
      descriptor_{open(path_.c_str(), openingFolder)} {}

std::vector<std::string> OpenFolder::visibleNames() const {
    std::vector<std::string> names;
    const int again = openat(number(), ".", openingFolder); // it is read from its beginning
    const auto closeListing = [](DIR* listing) { closedir(listing); };
    const std::unique_ptr<DIR, decltype(closeListing)> listing{
        again < 0 ? nullptr : fdopendir(again), closeListing};
    if (!listing) {
        return names;
    }
    while (const dirent* entry = readdir(listing.get())) {
        const std::string_view name = &entry->d_name[0];
        if (!name.starts_with('.')) {
            names.emplace_back(name);
        }
    }
    std::ranges::sort(names);
    return names;
}

std::optional<FileStamp> stampOf(const std::string& path) {
    struct stat about{};
    return stat(path.c_str(), &about) == 0 ? std::optional{stampOf(about)} : std::nullopt;
}

std::optional<FileStamp> stampOf(const OpenFolder& folder, const std::string& name) {
    struct stat about{};
    return fstatat(folder.number(), name.c_str(), &about, 0) == 0 ? std::optional{stampOf(about)}
                                                                  : std::nullopt;
}

std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest,
                                           FileStamp* stamp) {
    return contentsOf(FileDescriptor{open(path.c_str(), readingOnly)}, largest, stamp);
}

std::optional<std::string> readRegularFile(const OpenFolder& folder, const std::string& name,
                                           std::size_t largest, FileStamp* stamp) {
    return contentsOf(FileDescriptor{openat(folder.number(), name.c_str(), readingOnly)}, largest,
                      stamp);
}

std::optional<std::string> readRegularFile(const FileDescriptor& folder, const std::string& name,
                                           std::size_t largest) {
    return contentsOf(
        FileDescriptor{openat(folder.number(), name.c_str(), readingOnly | O_NOFOLLOW)}, largest,
        nullptr);
}

bool isFolder(const std::string& path) {
    struct stat about{};
    return stat(path.c_str(), &about) == 0 && S_ISDIR(about.st_mode);
}

bool isReadableFolder(const std::string& path) {
    return isFolder(path) && faccessat(AT_FDCWD, path.c_str(), R_OK | X_OK, AT_EACCESS) == 0;
}

bool isWritableFolder(const std::string& path) {
    return isFolder(path) && faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK | X_OK, AT_EACCESS) == 0;
}

bool makeFolders(const std::string& path) {
    if (isFolder(path)) {
        return true;
    }
    const std::string parent = parentOf(path);
    if (!makeFolders(parent)) {
        return false;
    }
    if (mkdir(path.c_str(), S_IRWXU) != 0) {
        return isFolder(path); // another process made it at the same time
    }
    return flushFolder(parent);
}

bool flushFolder(const std::string& path) {
    const FileDescriptor folder{open(path.c_str(), openingFolder)};
    return folder && flushFolder(folder.number());
}

std::string parentOf(const std::string& path) {
    return path.substr(0, std::max<std::size_t>(path.find_last_of('/'), 1));
}

bool flushFolder(int folder) {
    return fsync(folder) == 0 || errno == EINVAL || errno == ENOTSUP;
}

} // namespace velmiro::local
