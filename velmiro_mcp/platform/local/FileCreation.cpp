#include "velmiro_mcp/platform/local/FileCreation.hpp"

#include "velmiro_mcp/platform/local/Files.hpp"
#include "velmiro_mcp/platform/local/Random.hpp"

#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

// A file gets its name by link(2), which never replaces, when all of it is on the disk. Until then
// it has no name at all (O_TMPFILE). Where the file system cannot do that it has a hidden one,
// which readers of calendar folders pass over. Its maker holds a lock on such a file, and the
// kernel gives the lock back when the maker dies: a hidden file that can be locked is a leftover.

namespace velmiro::local {
namespace {

constexpr mode_t onlyTheUser = S_IRUSR | S_IWUSR;
constexpr std::string_view hiddenPrefix = ".velmiro-";
constexpr std::string_view hiddenEnding = ".tmp";

int writeAll(int file, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t count = write(file, contents.data(), contents.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        contents.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return fsync(file) == 0 ? 0 : errno;
}

/// Gives the new name its place on the disk; where that fails, takes it back.
int settle(const FileDescriptor& folder, const std::string& name) {
    if (flushFolder(folder.number())) {
        return 0;
    }
    const int error = errno;
    unlinkat(folder.number(), name.c_str(), 0);
    return error;
}

int createNameless(const FileDescriptor& folder, const std::string& name,
                   std::string_view contents) {
    const FileDescriptor file{
        openat(folder.number(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, onlyTheUser)};
    if (!file) {
        return errno;
    }
    if (const int error = writeAll(file.number(), contents)) {
        return error;
    }
    const std::string self = "/proc/self/fd/" + std::to_string(file.number());
    if (linkat(AT_FDCWD, self.c_str(), folder.number(), name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        return errno;
    }
    return settle(folder, name);
}

void removeLeftovers(const FileDescriptor& folder) {
    const int copy = openat(folder.number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const listing = copy < 0 ? nullptr : fdopendir(copy);
    if (listing == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(listing)) {
        const std::string_view name = &entry->d_name[0];
        if (!name.starts_with(hiddenPrefix) || !name.ends_with(hiddenEnding)) {
            continue;
        }
        const FileDescriptor leftover{openat(folder.number(), &entry->d_name[0],
                                             O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC)};
        if (leftover && flock(leftover.number(), LOCK_EX | LOCK_NB) == 0) {
            unlinkat(folder.number(), &entry->d_name[0], 0);
        }
    }
    closedir(listing);
}

int createHidden(const FileDescriptor& folder, const std::string& name, std::string_view contents) {
    const std::string hidden = std::string{hiddenPrefix} + randomUUID() + std::string{hiddenEnding};
    const FileDescriptor file{openat(folder.number(), hidden.c_str(),
                                     O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, onlyTheUser)};
    if (!file) {
        return errno;
    }
    // Another process may take the file for a leftover in the moment before it is locked; then the
    // link below finds it gone.
    flock(file.number(), LOCK_EX | LOCK_NB);
    int error = writeAll(file.number(), contents);
    if (error == 0 &&
        linkat(folder.number(), hidden.c_str(), folder.number(), name.c_str(), 0) != 0) {
        error = errno == ENOENT ? EAGAIN : errno;
    }
    unlinkat(folder.number(), hidden.c_str(), 0);
    return error == 0 ? settle(folder, name) : error;
}

} // namespace

int createFile(const std::string& folder, const std::string& name, std::string_view contents,
               Staging staging) {
    const FileDescriptor opened{open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!opened) {
        return errno;
    }
    removeLeftovers(opened);
    if (staging == Staging::nameless) {
        return createNameless(opened, name, contents);
    }
    int error = EAGAIN;
    for (int attempt = 0; attempt < 10 && error == EAGAIN; ++attempt) {
        error = createHidden(opened, name, contents);
    }
    return error;
}

int createFile(const std::string& folder, const std::string& name, std::string_view contents) {
    const int error = createFile(folder, name, contents, Staging::nameless);
    switch (error) {
    case 0:
    case EEXIST:
    case ENOSPC:
    case EDQUOT:
    case EACCES:
    case EROFS:
        return error;
    default: // no files without names here, or no /proc to name them through
        return createFile(folder, name, contents, Staging::hidden);
    }
}

} // namespace velmiro::local
