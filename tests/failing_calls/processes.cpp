// Calls on streams, processes and threads that a plan lets fail.

#include "tests/failing_calls/Decision.hpp"

#include <cerrno>

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace velmiro::test;

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int poll(pollfd* descriptors, nfds_t count, int timeout) {
    static auto* const real = next<decltype(poll)>("poll");
    return attempt(Call::poll, nullptr, [&] { return real(descriptors, count, timeout); });
}

int socket(int domain, int type, int protocol) noexcept {
    return attempt(Call::socket, nullptr,
                   [&] { return static_cast<int>(::syscall(SYS_socket, domain, type, protocol)); });
}

int connect(int socket, const sockaddr* address, socklen_t length) {
    return attempt(Call::connect, nullptr, [&] {
        return static_cast<int>(::syscall(SYS_connect, socket, address, length));
    });
}

ssize_t send(int socket, const void* from, size_t size, int flags) {
    const Decision decision = decide(Call::send);
    if (decision == Decision::fail) {
        return -1;
    }
    const ssize_t count =
        ::syscall(SYS_sendto, socket, from, partOf(size, decision), flags, nullptr, 0);
    carryOut(decision);
    return count;
}

int pipe2(int* ends, int flags) noexcept {
    return attempt(Call::pipe, nullptr,
                   [&] { return static_cast<int>(::syscall(SYS_pipe2, ends, flags)); });
}

int pipe(int* ends) noexcept {
    return pipe2(ends, 0);
}

/// Returns the C library's vfork; null if this call fails, with errno set.
void* velmiro_vfork_target() noexcept {
    static void* const real = ::dlsym(RTLD_NEXT, "vfork");
    return decide(Call::spawn) == Decision::fail ? nullptr : real;
}

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const* arguments,
                char* const* environment) {
    static auto* const real = next<decltype(posix_spawn)>("posix_spawn");
    return decide(Call::spawn) == Decision::fail
               ? errno
               : real(child, path, actions, attributes, arguments, environment);
}

pid_t waitpid(pid_t child, int* status, int options) {
    return attempt(Call::wait, nullptr, [&] {
        return static_cast<pid_t>(::syscall(SYS_wait4, child, status, options, nullptr));
    });
}

int waitid(idtype_t kind, id_t child, siginfo_t* ended, int options) {
    return attempt(Call::wait, nullptr, [&] {
        return static_cast<int>(::syscall(SYS_waitid, kind, child, ended, options, nullptr));
    });
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
    static auto* const real = next<decltype(pthread_create)>("pthread_create");
    return decide(Call::thread) == Decision::fail ? errno : real(thread, attributes, run, argument);
}
}
