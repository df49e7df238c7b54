#include "velmiro_mcp/platform/local/files/FileVersion.hpp"

#include "velmiro_mcp/platform/local/files/SystemError.hpp"

#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace velmiro::local {
namespace {

std::string contentsOf(const Descriptor& file) {
    try {
        if (auto contents = readOpenFile(file, largestItem)) {
            return *std::move(contents);
        }
    } catch (const std::bad_alloc&) {
        throw std::system_error{std::make_error_code(std::errc::not_enough_memory)};
    }
    throw std::system_error{std::make_error_code(std::errc::invalid_argument)};
}

} // namespace

FileVersion::FileVersion(const Descriptor& folder, const std::string& name)
    : file_{openForReading(folder.get(), name, O_NOFOLLOW)} {
    struct stat about{};
    if (!file_ || fstat(file_.get(), &about) != 0) {
        throwLastError();
    }
    device_ = about.st_dev;
    inode_ = about.st_ino;
    contents_ = contentsOf(file_);
}

bool FileVersion::isUnchangedAt(const Descriptor& folder, const std::string& name) const {
    struct stat about{};
    if (fstatat(folder.get(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) {
            throwLastError();
        }
        return false;
    }
    return about.st_dev == device_ && about.st_ino == inode_ && contentsOf(file_) == contents_;
}

} // namespace velmiro::local
