#include "velmiro_mcp/services/LocalSocket.hpp"

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace velmiro {
namespace {

// The two ways to write without risking SIGPIPE: a flag of the call, or an option of the socket.
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

    LocalSocket made{::socket(AF_UNIX, SOCK_STREAM, 0)};
    if (made.descriptor_ < 0) {
        return std::nullopt;
    }
    ::fcntl(made.descriptor_, F_SETFD, FD_CLOEXEC);
    suppressBrokenPipe(made.descriptor_);
    if (::connect(made.descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
        0) {
        return std::nullopt;
    }
    return made;
}

LocalSocket::~LocalSocket() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void LocalSocket::setReceiveTimeout(std::chrono::seconds timeout) const noexcept {
    timeval limit{};
    limit.tv_sec = static_cast<decltype(limit.tv_sec)>(timeout.count());
    ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

bool LocalSocket::writeAll(std::string_view text) const noexcept {
    const ssize_t written = ::send(descriptor_, text.data(), text.size(), quietly);
    return written >= 0 && static_cast<std::size_t>(written) == text.size();
}

std::size_t LocalSocket::read(std::span<char> into) const noexcept {
    const ssize_t count = ::read(descriptor_, into.data(), into.size());
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace velmiro
