#include "velmiro_mcp/services/LocalSocket.hpp"

#include <cerrno>
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

void setTimeout(int descriptor, int option, std::chrono::milliseconds timeout) noexcept {
    const auto whole = std::chrono::floor<std::chrono::seconds>(timeout);
    timeval limit{};
    limit.tv_sec = static_cast<decltype(limit.tv_sec)>(whole.count());
    limit.tv_usec = static_cast<decltype(limit.tv_usec)>((timeout - whole).count() * 1000);
    ::setsockopt(descriptor, SOL_SOCKET, option, &limit, sizeof limit);
}

/// Makes a call with a limit of time, which `option` names. Linux ends the call when the process is
/// stopped and continued, or a debugger comes; then it is made again for what is left of the time.
template <typename Call>
auto withLimit(int descriptor, int option, std::chrono::milliseconds limit, Call call) noexcept {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    setTimeout(descriptor, option, limit);
    auto result = call();
    while (result < 0 && errno == EINTR) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (rest.count() <= 0) {
            break;
        }
        setTimeout(descriptor, option, rest);
        result = call();
    }
    return result;
}

} // namespace

std::optional<LocalSocket> LocalSocket::connect(std::string_view path,
                                                std::chrono::milliseconds patience) {
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
    // Linux waits while the queue of a host that accepts nobody is full, as long as for sending.
    const int connected = withLimit(socket.get(), SO_SNDTIMEO, patience, [&] {
        return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    });
    if (connected != 0) {
        return std::nullopt;
    }
    setTimeout(socket.get(), SO_SNDTIMEO, std::chrono::milliseconds{0}); // sending has no limit
    return LocalSocket{std::move(socket), patience};
}

bool LocalSocket::writeAll(std::string_view text) const noexcept {
    const ssize_t written = ::send(socket_.get(), text.data(), text.size(), quietly);
    return written >= 0 && static_cast<std::size_t>(written) == text.size();
}

std::size_t LocalSocket::read(std::span<char> into) const noexcept {
    const ssize_t count = withLimit(socket_.get(), SO_RCVTIMEO, patience_, [&] {
        return ::read(socket_.get(), into.data(), into.size());
    });
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace velmiro
