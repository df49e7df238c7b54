#include "velmiro_mcp/platform/local/files/FileCreation.hpp"

#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

// A file gets its name by link(2), which never replaces, when all of it is on the disk. Until then
// it has no name at all (O_TMPFILE), or a hidden one where the file system cannot do that.

namespace velmiro::local {
namespace {

constexpr mode_t onlyTheUser = S_IRUSR | S_IWUSR;

/// Gives the new name its place on the disk; where that fails, takes it back. A file that cannot be
/// taken back is there for everybody to see, so it is made.
int settle(const FileDescriptor& folder, const std::string& name) {
    if (flushFolder(folder.number())) {
        return 0;
    }
    const int error = errno;
    return unlinkat(folder.number(), name.c_str(), 0) == 0 ? error : 0;
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

int createHidden(const FileDescriptor& folder, const std::string& name, std::string_view contents) {
    const HiddenFile hidden{folder, contents, onlyTheUser};
    int error = hidden.error();
    if (error == 0 &&
        linkat(folder.number(), hidden.name().c_str(), folder.number(), name.c_str(), 0) != 0) {
        error = errno == ENOENT ? EAGAIN : errno;
    }
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
