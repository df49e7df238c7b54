#include "velmiro_mcp/services/LocalSocket.hpp"

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmiro {
namespace {

// A write must not raise SIGPIPE: Linux has a flag of the call for that, macOS an option of the
// socket.
#ifdef MSG_NOSIGNAL
constexpr int quietly = MSG_NOSIGNAL;
void suppressBrokenPipe(int) noexcept {}
#else
constexpr int quietly = 0;
void suppressBrokenPipe(int descriptor) noexcept {
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
}
#endif

} // namespace

std::optional<LocalSocket> LocalSocket::connect(std::string_view path) {
    sockaddr_un address{};
    static_assert(sizeof address.sun_path > longestPath);
    if (path.size() > longestPath) {
        return std::nullopt;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());

    MCPStdio::Descriptor socket{::socket(AF_UNIX, SOCK_STREAM, 0)};
    if (!socket) {
        return std::nullopt;
    }
    ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
    suppressBrokenPipe(socket.get());
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return std::nullopt;
    }
    return LocalSocket{std::move(socket)};
}

void LocalSocket::setReceiveTimeout(std::chrono::seconds timeout) const noexcept {
    timeval limit{};
    limit.tv_sec = static_cast<decltype(limit.tv_sec)>(timeout.count());
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

bool LocalSocket::writeAll(std::string_view text) const noexcept {
    const ssize_t written = ::send(socket_.get(), text.data(), text.size(), quietly);
    return written >= 0 && static_cast<std::size_t>(written) == text.size();
}

std::size_t LocalSocket::read(std::span<char> into) const noexcept {
    const ssize_t count = ::read(socket_.get(), into.data(), into.size());
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace velmiro
