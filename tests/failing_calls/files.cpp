// A library that is loaded before the C library (LD_PRELOAD) and makes calls fail, as a disk or a
// system at its limits would. This file holds the calls on files, the others those on processes,
// streams and memory. The plan is in the file that FAILING_CALLS_PLAN names; without one, every
// call goes through. What the C library itself calls on its own behalf is not seen.

#include "tests/failing_calls/Decision.hpp"
#include "tests/failing_calls/Record.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using namespace velmiro::test;

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

mode_t kindOf(int file) {
    struct stat about{};
    return ::syscall(SYS_fstat, file, &about) == 0 ? about.st_mode & S_IFMT : 0;
}

/// An event counter, by which threads of a library wake one another, is no file, and its calls do
/// not fail: a wake-up that is lost is never made up for.
constexpr mode_t eventCounter = 0;

Call readingFrom(int file) {
    const mode_t kind = kindOf(file);
    if (kind == eventCounter) {
        return Call::none;
    }
    if (S_ISREG(kind)) {
        return Call::read;
    }
    return file == STDIN_FILENO ? Call::input : Call::receive;
}

Call writingTo(int file) {
    const mode_t kind = kindOf(file);
    if (kind == eventCounter) {
        return Call::none;
    }
    return S_ISREG(kind) ? Call::write : Call::output;
}

int rename2(int oldFolder, const char* oldName, int newFolder, const char* newName, unsigned how) {
    const bool isExchange = (how & RENAME_EXCHANGE) != 0;
    if (isExchange && plan() != nullptr && plan()->exchangeError != 0) {
        errno = plan()->exchangeError;
        return -1;
    }
    return attempt(Call::rename, newName, [&] {
        const auto result =
            static_cast<int>(::syscall(SYS_renameat2, oldFolder, oldName, newFolder, newName, how));
        if (result == 0) {
            recordRename(oldFolder, oldName, newFolder, newName, isExchange);
        }
        if (result == 0 && plan() != nullptr && (isExchange || *newName != '.')) {
            plan()->changed = true;
        }
        return result;
    });
}

int openFile(int folder, const char* path, int flags, mode_t mode) {
    const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
    if (isNameless && plan() != nullptr && plan()->namelessError != 0) {
        errno = plan()->namelessError;
        return -1;
    }
    return attempt(Call::open, path, [&] {
        const auto file = static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
        recordOpening(folder, path, flags, file);
        return file;
    });
}

mode_t modeOf(int flags, std::va_list& rest) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(rest, mode_t) : 0;
}

int removeName(int folder, const char* path, int flags) {
    return attempt(Call::unlink, path, [&] {
        const auto result = static_cast<int>(::syscall(SYS_unlinkat, folder, path, flags));
        if (result == 0) {
            recordRemoval(folder, path, (flags & AT_REMOVEDIR) != 0);
        }
        return result;
    });
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = modeOf(flags, rest);
    va_end(rest);
    return openFile(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = modeOf(flags, rest);
    va_end(rest);
    return openFile(folder, path, flags, mode);
}

int close(int file) {
    // The system closes the file even if it reports an error.
    const Decision decision = decide(Call::close);
    const auto result = static_cast<int>(::syscall(SYS_close, file));
    carryOut(decision);
    if (decision == Decision::fail) {
        errno = plan()->error;
        return -1;
    }
    return result;
}

ssize_t read(int file, void* into, size_t size) {
    const Decision decision = decide(readingFrom(file));
    if (decision == Decision::fail) {
        return -1;
    }
    const ssize_t count = ::syscall(SYS_read, file, into, partOf(size, decision));
    carryOut(decision);
    return count;
}

ssize_t pread(int file, void* into, size_t size, off_t offset) {
    const Decision decision = decide(Call::read);
    if (decision == Decision::fail) {
        return -1;
    }
    const ssize_t count = ::syscall(SYS_pread64, file, into, partOf(size, decision), offset);
    carryOut(decision);
    return count;
}

ssize_t write(int file, const void* from, size_t size) {
    const Call call = writingTo(file);
    const Decision decision = decide(call);
    if (decision == Decision::fail) {
        return -1;
    }
    const ssize_t count = ::syscall(SYS_write, file, from, partOf(size, decision));
    if (call == Call::write) {
        recordWrite(file, from, count);
    }
    carryOut(decision);
    return count;
}

int fsync(int file) {
    return attempt(Call::flush, nullptr, [&] {
        const auto result = static_cast<int>(::syscall(SYS_fsync, file));
        if (result == 0) {
            recordFlush(file);
        }
        return result;
    });
}

int fstat(int file, struct stat* about) noexcept {
    return attempt(Call::stat, nullptr,
                   [&] { return static_cast<int>(::syscall(SYS_fstat, file, about)); });
}

int fstatat(int folder, const char* path, struct stat* about, int flags) noexcept {
    return attempt(Call::stat, path, [&] {
        return static_cast<int>(::syscall(SYS_newfstatat, folder, path, about, flags));
    });
}

int stat(const char* path, struct stat* about) noexcept {
    return fstatat(AT_FDCWD, path, about, 0);
}

int lstat(const char* path, struct stat* about) noexcept {
    return fstatat(AT_FDCWD, path, about, AT_SYMLINK_NOFOLLOW);
}

int statx(int folder, const char* path, int flags, unsigned wanted, struct statx* about) noexcept {
    return attempt(Call::stat, path, [&] {
        return static_cast<int>(::syscall(SYS_statx, folder, path, flags, wanted, about));
    });
}

int faccessat(int folder, const char* path, int rights, int flags) noexcept {
    return attempt(Call::stat, path, [&] {
        static auto* const real = next<decltype(faccessat)>("faccessat");
        return real(folder, path, rights, flags);
    });
}

char* realpath(const char* path, char* into) noexcept {
    static auto* const real = next<decltype(realpath)>("realpath");
    return decide(Call::stat, path) == Decision::fail ? nullptr : real(path, into);
}

ssize_t readlink(const char* path, char* into, size_t size) noexcept {
    return attempt(Call::stat, path, [&] {
        return static_cast<ssize_t>(::syscall(SYS_readlinkat, AT_FDCWD, path, into, size));
    });
}

int rename(const char* oldName, const char* newName) noexcept {
    return rename2(AT_FDCWD, oldName, AT_FDCWD, newName, 0);
}

int renameat(int oldFolder, const char* oldName, int newFolder, const char* newName) noexcept {
    return rename2(oldFolder, oldName, newFolder, newName, 0);
}

int renameat2(int oldFolder, const char* oldName, int newFolder, const char* newName,
              unsigned how) noexcept {
    return rename2(oldFolder, oldName, newFolder, newName, how);
}

int linkat(int oldFolder, const char* oldName, int newFolder, const char* newName,
           int flags) noexcept {
    return attempt(Call::link, newName, [&] {
        const auto result =
            static_cast<int>(::syscall(SYS_linkat, oldFolder, oldName, newFolder, newName, flags));
        if (result == 0) {
            recordLink(oldFolder, oldName, newFolder, newName, flags);
        }
        return result;
    });
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return removeName(folder, path, flags);
}

int unlink(const char* path) noexcept {
    return removeName(AT_FDCWD, path, 0);
}

int rmdir(const char* path) noexcept {
    return removeName(AT_FDCWD, path, AT_REMOVEDIR);
}

int mkdir(const char* path, mode_t mode) noexcept {
    return attempt(Call::mkdir, path, [&] {
        const auto result = static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
        if (result == 0) {
            recordFolder(AT_FDCWD, path);
        }
        return result;
    });
}

int fchmod(int file, mode_t mode) noexcept {
    return attempt(Call::mkdir, nullptr,
                   [&] { return static_cast<int>(::syscall(SYS_fchmod, file, mode)); });
}

DIR* fdopendir(int folder) {
    static auto* const real = next<decltype(fdopendir)>("fdopendir");
    return decide(Call::list) == Decision::fail ? nullptr : real(folder);
}

dirent* readdir(DIR* listing) {
    static auto* const real = next<decltype(readdir)>("readdir");
    return decide(Call::list) == Decision::fail ? nullptr : real(listing);
}

ssize_t getdents64(int folder, void* into, size_t size) noexcept {
    return attempt(Call::list, nullptr, [&] {
        return static_cast<ssize_t>(::syscall(SYS_getdents64, folder, into, size));
    });
}

int flock(int file, int operation) noexcept {
    return attempt(Call::lock, nullptr,
                   [&] { return static_cast<int>(::syscall(SYS_flock, file, operation)); });
}

int fcntl(int file, int command, ...) {
    std::va_list rest;
    va_start(rest, command);
    const auto argument = va_arg(rest, long);
    va_end(rest);
    return attempt(Call::control, nullptr,
                   [&] { return static_cast<int>(::syscall(SYS_fcntl, file, command, argument)); });
}

void* mmap(void* at, size_t size, int protection, int flags, int file, off_t offset) noexcept {
    if (decide(Call::map) == Decision::fail) {
        return MAP_FAILED;
    }
    return reinterpret_cast<void*>(::syscall(SYS_mmap, at, size, protection, flags, file, offset));
}
}
