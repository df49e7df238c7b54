#include "velmiro_mcp/platform/local/files/HiddenFiles.hpp"

#include "velmiro_mcp/platform/local/files/Random.hpp"
#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmiro::local {
namespace {

constexpr std::string_view newPrefix = ".velmiro-new-";
constexpr std::string_view asidePrefix = ".velmiro-aside-";
constexpr std::string_view ending = ".tmp";

/// FNV-1a: it distinguishes versions of a file and need not resist an attacker.
std::string digest(std::string_view contents) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char letter : contents) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3;
    }
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(hash));
    return text.data();
}

bool isUnlocked(const Descriptor& folder, const std::string& name) {
    const Descriptor file{
        openat(folder.get(), name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC)};
    return file && flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

bool isOfDeadProcess(const std::string& name) {
    const pid_t process = std::atoi(name.c_str() + asidePrefix.size());
    return process > 0 && kill(process, 0) != 0 && errno == ESRCH;
}

bool holdsVersionInName(const Descriptor& folder, const std::string& name) {
    try {
        const auto contents = readRegularFile(folder, name, largestItem);
        return contents && name.find(digest(*contents)) != std::string::npos;
    } catch (const std::system_error&) {
        return false;
    }
}

bool isLeftover(const Descriptor& folder, const std::string& name) {
    if (!name.ends_with(ending)) {
        return false;
    }
    if (name.starts_with(newPrefix)) {
        return isUnlocked(folder, name);
    }
    return name.starts_with(asidePrefix) && isOfDeadProcess(name) &&
           holdsVersionInName(folder, name);
}

} // namespace

std::error_code writeAll(const Descriptor& file, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t count = write(file.get(), contents.data(), contents.size());
        if (count < 0 && errno != EINTR) {
            return lastError();
        }
        contents.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return fsync(file.get()) == 0 ? std::error_code{} : lastError();
}

HiddenFile::HiddenFile(const Descriptor& folder, std::string_view contents, mode_t mode)
    : folder_{folder},
      name_{std::string{newPrefix} + randomUUID() + std::string{ending}},
      file_{openat(folder.get(), name_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, mode)},
      error_{file_ ? std::error_code{} : lastError()} {
    if (!error_) {
        // Before it is locked, another process may take it for a leftover and remove it. Then
        // linking or renaming it fails with ENOENT.
        flock(file_.get(), LOCK_EX | LOCK_NB);
        error_ = writeAll(file_, contents);
    }
}

HiddenFile::~HiddenFile() {
    if (file_) {
        unlinkat(folder_.get(), name_.c_str(), 0);
    }
}

std::string asideName(std::string_view oneVersion, std::string_view otherVersion) {
    return std::string{asidePrefix} + std::to_string(getpid()) + "-" + digest(oneVersion) + "-" +
           digest(otherVersion) + "-" + randomUUID() + std::string{ending};
}

void removeLeftovers(const Descriptor& folder) {
    const Listing listing = openListing(folder.get());
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr) {
        if (const std::string name = &entry->d_name[0]; isLeftover(folder, name)) {
            unlinkat(folder.get(), name.c_str(), 0);
        }
    }
}

} // namespace velmiro::local
