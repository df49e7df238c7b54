#include "velmiro_mcp/platform/local/files/FileCreation.hpp"

#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <new>
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

NameChoices onlyName(const std::string& name) {
    return [name](int number) { return number == 0 ? std::optional{name} : std::nullopt; };
}

/// A file with all of its contents that is to get its name. `flags` are those of linkat(2).
struct Written {
    int folder;
    std::string path;
    int flags;
};

/// Links the file under the first name that is not taken.
std::error_code linkTo(const Descriptor& folder, const NameChoices& names, const Written& file) {
    std::error_code error = std::make_error_code(std::errc::file_exists);
    for (int number = 0; error == std::errc::file_exists; ++number) {
        const auto name = names(number);
        if (!name) {
            break;
        }
        const bool isLinked =
            linkat(file.folder, file.path.c_str(), folder.get(), name->c_str(), file.flags) == 0;
        error = isLinked ? settle(folder, *name) : lastError();
    }
    return error;
}

std::error_code createNameless(const Descriptor& folder, const NameChoices& names,
                               std::string_view contents) {
    const Descriptor file{openat(folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, onlyTheUser)};
    if (!file) {
        return lastError();
    }
    if (const std::error_code error = writeAll(file, contents)) {
        return error;
    }
    return linkTo(folder, names,
                  {AT_FDCWD, "/proc/self/fd/" + std::to_string(file.get()), AT_SYMLINK_FOLLOW});
}

/// Returns ENOENT if another process took the hidden file for a leftover and removed it.
std::error_code tryHidden(const Descriptor& folder, const NameChoices& names,
                          std::string_view contents) {
    const HiddenFile hidden{folder, contents, onlyTheUser};
    return hidden.error() ? hidden.error()
                          : linkTo(folder, names, {folder.get(), hidden.name(), 0});
}

std::error_code createHidden(const Descriptor& folder, const NameChoices& names,
                             std::string_view contents) {
    constexpr int tries = 10;
    for (int attempt = 0; attempt < tries; ++attempt) {
        const std::error_code error = tryHidden(folder, names, contents);
        if (error != std::errc::no_such_file_or_directory) {
            return error;
        }
    }
    return std::make_error_code(std::errc::resource_unavailable_try_again);
}

} // namespace

std::error_code createFile(const std::string& folder, const NameChoices& names,
                           std::string_view contents, Staging staging) {
    const Descriptor opened{open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (!opened) {
        return lastError();
    }
    // Nothing after the link needs memory, so without any there is no file.
    try {
        removeLeftovers(opened);
        return staging == Staging::nameless ? createNameless(opened, names, contents)
                                            : createHidden(opened, names, contents);
    } catch (const std::bad_alloc&) {
        return std::make_error_code(std::errc::not_enough_memory);
    }
}

std::error_code createFile(const std::string& folder, const NameChoices& names,
                           std::string_view contents) {
    const std::error_code error = createFile(folder, names, contents, Staging::nameless);
    switch (error.value()) {
    case 0:
    case EEXIST:
    case ENOSPC:
    case EDQUOT:
    case EACCES:
    case EROFS:
        return error;
    default: // the file system has no files without names, or there is no /proc to name them
        return createFile(folder, names, contents, Staging::hidden);
    }
}

std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents, Staging staging) {
    return createFile(folder, onlyName(name), contents, staging);
}

std::error_code createFile(const std::string& folder, const std::string& name,
                           std::string_view contents) {
    return createFile(folder, onlyName(name), contents);
}

} // namespace velmiro::local
