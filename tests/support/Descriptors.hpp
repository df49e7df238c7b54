#pragma once

#include <array>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

/// Descriptors with flags from their beginning on, where the system makes such; macOS sets them
/// afterwards.
namespace velmiro::test {

/// Sets O_NONBLOCK and O_CLOEXEC where they are among `flags`.
inline void setFlags(int descriptor, int flags) {
    if ((flags & O_CLOEXEC) != 0) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    if ((flags & O_NONBLOCK) != 0) {
        ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
    }
}

/// The reading end and the writing one; both negative when there is none to be had.
inline std::array<int, 2> makePipe(int flags) {
    std::array<int, 2> ends{-1, -1};
#ifdef SOCK_CLOEXEC
    static_cast<void>(::pipe2(ends.data(), flags) == 0);
#else
    if (::pipe(ends.data()) == 0) {
        setFlags(ends[0], flags);
        setFlags(ends[1], flags);
    }
#endif
    return ends;
}

/// A stream socket of this machine that no child inherits.
inline int makeLocalSocket() {
#ifdef SOCK_CLOEXEC
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
#else
    const int made = ::socket(AF_UNIX, SOCK_STREAM, 0);
    setFlags(made, O_CLOEXEC);
    return made;
#endif
}

/// The next connection, which no child inherits and which raises no SIGPIPE on macOS.
inline int acceptConnection(int listener) {
#ifdef SOCK_CLOEXEC
    return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
#else
    const int connection = ::accept(listener, nullptr, nullptr);
    const int on = 1;
    ::setsockopt(connection, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    setFlags(connection, O_CLOEXEC);
    return connection;
#endif
}

} // namespace velmiro::test
