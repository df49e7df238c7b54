#include "tests/failing_calls/Record.hpp"

#include "tests/failing_calls/Decision.hpp"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmiro::test {
namespace {

bool isRecording() {
    return plan() != nullptr && plan()->isRecording;
}

std::string inodeOf(int file) {
    struct stat about{};
    return ::syscall(SYS_fstat, file, &about) == 0 ? std::to_string(about.st_ino) : "0";
}

std::string inodeAt(int folder, const char* path, int flags = AT_SYMLINK_NOFOLLOW) {
    struct stat about{};
    return ::syscall(SYS_newfstatat, folder, path, &about, flags) == 0
               ? std::to_string(about.st_ino)
               : "0";
}

/// Returns the inode of the folder that a path names something in, and the name.
std::string place(int folder, const char* path) {
    const std::string text = path;
    const auto slash = text.find_last_of('/');
    const std::string above = slash == std::string::npos ? "." : text.substr(0, slash + 1);
    return inodeAt(folder, above.c_str(), 0) + "\t" + text.substr(slash + 1);
}

/// Appends a line in one call, so that several threads and processes may.
void append(const std::string& line) {
    const int error = errno;
    const auto file = ::syscall(SYS_openat, AT_FDCWD, plan()->record.data(),
                                O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const std::string whole = line + "\n";
    ::syscall(SYS_write, file, whole.data(), whole.size());
    ::syscall(SYS_close, file);
    errno = error;
}

std::string inHexadecimal(const void* bytes, long count) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (long index = 0; index < count; ++index) {
        const auto byte = static_cast<const unsigned char*>(bytes)[index];
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

} // namespace

void recordOpening(int folder, const char* path, int flags, int file) noexcept {
    if (!isRecording() || file < 0) {
        return;
    }
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        append("nameless\t" + inodeOf(file));
    } else if ((flags & O_CREAT) != 0) {
        append("create\t" + place(folder, path) + "\t" + inodeOf(file));
    }
}

void recordWrite(int file, const void* bytes, long written) noexcept {
    if (isRecording() && written > 0) {
        const auto end = ::lseek(file, 0, SEEK_CUR);
        append("write\t" + inodeOf(file) + "\t" + std::to_string(end - written) + "\t" +
               inHexadecimal(bytes, written));
    }
}

void recordFlush(int file) noexcept {
    if (isRecording()) {
        append("flush\t" + inodeOf(file));
    }
}

void recordRename(int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                  bool isExchange) noexcept {
    if (isRecording()) {
        append((isExchange ? "exchange\t" : "rename\t") + place(oldFolder, oldPath) + "\t" +
               place(newFolder, newPath));
    }
}

void recordLink(int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                int flags) noexcept {
    if (isRecording()) {
        const bool isFollowed = (flags & AT_SYMLINK_FOLLOW) != 0;
        append("link\t" + inodeAt(oldFolder, oldPath, isFollowed ? 0 : AT_SYMLINK_NOFOLLOW) + "\t" +
               place(newFolder, newPath));
    }
}

void recordRemoval(int folder, const char* path, bool isFolder) noexcept {
    if (isRecording()) {
        append((isFolder ? "rmdir\t" : "unlink\t") + place(folder, path));
    }
}

void recordFolder(int folder, const char* path) noexcept {
    if (isRecording()) {
        append("mkdir\t" + place(folder, path) + "\t" + inodeAt(folder, path));
    }
}

} // namespace velmiro::test
