#include "velmiro_mcp/platform/local/files/FileCreation.hpp"

#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// A file gets its name from link(2), which never replaces, once all of it is on the disk. Until
// then it has no name (O_TMPFILE), or a hidden one if the file system does not support that.

namespace velmiro::local {
namespace {

constexpr mode_t onlyTheUser = S_IRUSR | S_IWUSR;

/// Flushes the new name to disk, and removes it if that fails. If it cannot be removed either, all
/// programs see the file, so it counts as created.
std::error_code settle(const Descriptor& folder, const std::string& name) {
    const std::error_code error = flushFolder(folder);
    const bool isTakenBack = error && unlinkat(folder.get(), name.c_str(), 0) == 0;
    return isTakenBack ? error : std::error_code{};
}

std::error_code createNameless(const Descriptor& folder, const std::string& name,
                               std::string_view contents) {
    const Descriptor file{openat(folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, onlyTheUser)};
    if (!file) {
        return lastError();
    }
    if (const std::error_code error = writeAll(file, contents)) {
        return error;
    }
    const std::string self = "/proc/self/fd/" + std::to_string(file.get());
    if (linkat(AT_FDCWD, self.c_str(), folder.get(), name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        return lastError();
    }
    return settle(folder, name);
}

/// Returns nullopt if another process took the hidden file for a leftover and removed it.
std::optional<std::error_code> tryHidden(const Descriptor& folder, const std::string& name,
                                         std::string_view contents) {
    const HiddenFile hidden{folder, contents, onlyTheUser};
    if (hidden.error()) {
        return hidden.error();
    }
    if (linkat(folder.get(), hidden.name().c_str(), folder.get(), name.c_str(), 0) != 0) {
        return errno == ENOENT ? std::nullopt : std::optional{lastError()};
    }
    return settle(folder, name);
}

std::error_code createHidden(const Descriptor& folder, const std::string& name,
                             std::string_view contents) {
    constexpr int tries = 10;
    for (int attempt = 0; attempt < tries; ++attempt) {
        if (const auto outcome = tryHidden(folder, name, contents)) {
            return *outcome;
        }
    }
    return std::make_error_code(std::errc::resource_unavailable_try_again);
}

} // namespace

std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents, Staging staging) {
    const Descriptor opened{open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!opened) {
        return lastError();
    }
    removeLeftovers(opened);
    return staging == Staging::nameless ? createNameless(opened, name, contents)
                                        : createHidden(opened, name, contents);
}

std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents) {
    const std::error_code error = createFile(folder, name, contents, Staging::nameless);
    switch (error.value()) {
    case 0:
    case EEXIST:
    case ENOSPC:
    case EDQUOT:
    case EACCES:
    case EROFS:
        return error;
    default: // the file system has no files without names, or there is no /proc to name them
        return createFile(folder, name, contents, Staging::hidden);
    }
}

} // namespace velmiro::local
