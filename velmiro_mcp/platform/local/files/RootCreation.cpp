#include "velmiro_mcp/platform/local/files/RootCreation.hpp"

#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The root is prepared under a hidden name, the same in every process, and then renamed. Each step
// counts as done if another process did it, so that several may take them at the same time: one
// renaming succeeds, and the others find the root's name taken, or the hidden one gone.

namespace velmiro::local {
namespace {

std::string lastPart(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

std::error_code makeFolder(const std::string& path) {
    const bool isThere = mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST;
    return isThere ? std::error_code{} : lastError();
}

std::error_code prepare(const NewRoot& root) {
    if (const std::error_code error = makeFolder(root.path)) {
        return error;
    }
    if (const std::error_code error = makeFolder(root.collection)) {
        return error;
    }
    return flushFolder(root.path);
}

/// Renames a folder on a file system that cannot refuse a taken name itself. The name may be taken
/// between the two steps, but then only an empty folder is replaced.
std::error_code renameAfterCheck(const std::string& from, const std::string& to) {
    struct stat about{};
    const bool isTaken = lstat(to.c_str(), &about) == 0;
    if (!isTaken && rename(from.c_str(), to.c_str()) == 0) {
        return {};
    }
    const bool isTakenSince = errno == ENOTEMPTY || errno == ENOTDIR;
    return isTaken || isTakenSince ? std::make_error_code(std::errc::file_exists) : lastError();
}

/// Returns `std::errc::file_exists` if the new name is taken.
std::error_code renameUnlessTaken(const std::string& from, const std::string& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return {};
    }
    const bool isUnsupported = errno == EINVAL || errno == ENOSYS;
    return isUnsupported ? renameAfterCheck(from, to) : lastError();
}

} // namespace

RootCreation createRoot(const NewRoot& root) {
    const std::string above = parentOf(root.path);
    if (!makeFolders(above)) {
        return {false, lastError()};
    }
    const NewRoot prepared{above + "/.velmiro-new-" + lastPart(root.path),
                           lastPart(root.collection)};
    constexpr int tries = 100;
    for (int attempt = 0; attempt < tries; ++attempt) {
        std::error_code error = prepare(prepared);
        if (!error) {
            error = renameUnlessTaken(prepared.path, root.path);
        }
        if (!error) {
            error = flushFolder(above);
            if (error) {
                removeEmpty(root);
            }
            return {!error, error};
        }
        if (error != std::errc::no_such_file_or_directory) {
            removeEmpty(prepared);
            return {false, error == std::errc::file_exists ? std::error_code{} : error};
        }
    }
    return {false, std::make_error_code(std::errc::resource_unavailable_try_again)};
}

void removeEmpty(const NewRoot& root) noexcept {
    rmdir(root.collection.c_str());
    rmdir(root.path.c_str());
}

} // namespace velmiro::local
