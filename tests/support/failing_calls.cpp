// A library that is loaded before the C library (LD_PRELOAD) and makes calls on files fail, as a
// disk or a system at its limits would. Environment variables select the failures:
//
//   FAIL_CALL    families of calls: open, read, stat, rename, flush, unlink; none if absent
//   FAIL_ERROR   the errno of a failing call
//   FAIL_SKIP    the number of calls that succeed first
//   FAIL_COUNT   the number of calls that fail then; later ones succeed
//   FAIL_AT      when counting begins: start, or change (the default), which is the first exchange
//                of two names, or the first rename to a name that is not hidden
//   FAIL_PART    a text; only calls on paths that contain it count, all if absent
//   NO_EXCHANGE  the errno of a file system that cannot exchange names
//
// Of the calls of `read`, only those on regular files fail: pipes and sockets keep working.

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int numberIn(const char* variable) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? 0 : std::atoi(text);
}

std::string_view textIn(const char* variable) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? std::string_view{} : text;
}

std::atomic<bool> changed{false};
std::atomic<int> counted{0};

/// Returns whether a call of this family fails now, with errno set.
bool fails(std::string_view family, const char* path = nullptr) {
    if (textIn("FAIL_CALL").find(family) == std::string_view::npos ||
        (textIn("FAIL_AT") != "start" && !changed)) {
        return false;
    }
    const auto part = textIn("FAIL_PART");
    if (!part.empty() &&
        (path == nullptr || std::string_view{path}.find(part) == std::string_view::npos)) {
        return false;
    }
    const int number = counted++ - numberIn("FAIL_SKIP");
    if (number < 0 || number >= numberIn("FAIL_COUNT")) {
        return false;
    }
    errno = numberIn("FAIL_ERROR");
    return true;
}

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool isRegular(int file) {
    struct stat about{};
    return ::syscall(SYS_fstat, file, &about) == 0 && S_ISREG(about.st_mode);
}

int rename2(int oldFolder, const char* oldName, int newFolder, const char* newName, unsigned how) {
    if ((how & RENAME_EXCHANGE) != 0 && numberIn("NO_EXCHANGE") != 0) {
        errno = numberIn("NO_EXCHANGE");
        return -1;
    }
    if (fails("rename", newName)) {
        return -1;
    }
    const auto result = ::syscall(SYS_renameat2, oldFolder, oldName, newFolder, newName, how);
    if (result == 0 && (how == RENAME_EXCHANGE || *newName != '.')) {
        changed = true;
    }
    return static_cast<int>(result);
}

mode_t modeOf(int flags, std::va_list& rest) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(rest, mode_t) : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = modeOf(flags, rest);
    va_end(rest);
    return fails("open", path)
               ? -1
               : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int openat(int folder, const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = modeOf(flags, rest);
    va_end(rest);
    return fails("open", path) ? -1
                               : static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}

ssize_t read(int file, void* into, size_t size) {
    return isRegular(file) && fails("read") ? -1 : ::syscall(SYS_read, file, into, size);
}

ssize_t pread(int file, void* into, size_t size, off_t offset) {
    return isRegular(file) && fails("read") ? -1 : ::syscall(SYS_pread64, file, into, size, offset);
}

int fstat(int file, struct stat* about) noexcept {
    return fails("stat") ? -1 : static_cast<int>(::syscall(SYS_fstat, file, about));
}

int fstatat(int folder, const char* path, struct stat* about, int flags) noexcept {
    return fails("stat", path) ? -1
                               : next<decltype(fstatat)>("fstatat")(folder, path, about, flags);
}

int stat(const char* path, struct stat* about) noexcept {
    return fails("stat", path) ? -1 : next<decltype(stat)>("stat")(path, about);
}

int lstat(const char* path, struct stat* about) noexcept {
    return fails("stat", path) ? -1 : next<decltype(lstat)>("lstat")(path, about);
}

int renameat(int oldFolder, const char* oldName, int newFolder, const char* newName) noexcept {
    return rename2(oldFolder, oldName, newFolder, newName, 0);
}

int renameat2(int oldFolder, const char* oldName, int newFolder, const char* newName,
              unsigned how) noexcept {
    return rename2(oldFolder, oldName, newFolder, newName, how);
}

int fsync(int file) {
    return fails("flush") ? -1 : static_cast<int>(::syscall(SYS_fsync, file));
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return fails("unlink", path) ? -1
                                 : static_cast<int>(::syscall(SYS_unlinkat, folder, path, flags));
}

int unlink(const char* path) noexcept {
    return fails("unlink", path) ? -1
                                 : static_cast<int>(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}
}
