#include "velmiro_mcp/platform/local/files/FileVersion.hpp"

#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace velmiro::local {
namespace {

[[noreturn]] void fail(int error) {
    throw std::system_error{error, std::generic_category()};
}

std::string contentsOf(const FileDescriptor& file) {
    try {
        if (auto contents = readOpenFile(file, largestItem)) {
            return *std::move(contents);
        }
    } catch (const std::bad_alloc&) {
        fail(ENOMEM);
    }
    fail(EINVAL);
}

} // namespace

FileVersion::FileVersion(const FileDescriptor& folder, const std::string& name)
    : file_{openForReading(folder.number(), name, O_NOFOLLOW)} {
    struct stat about{};
    if (!file_ || fstat(file_.number(), &about) != 0) {
        fail(errno);
    }
    device_ = about.st_dev;
    inode_ = about.st_ino;
    contents_ = contentsOf(file_);
}

bool FileVersion::standsAs(const FileDescriptor& folder, const std::string& name) const {
    struct stat about{};
    if (fstatat(folder.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) {
            fail(errno);
        }
        return false;
    }
    return about.st_dev == device_ && about.st_ino == inode_ && contentsOf(file_) == contents_;
}

} // namespace velmiro::local
