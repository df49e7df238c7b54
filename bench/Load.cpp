#include "bench/Load.hpp"

#include "bench/System.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace velmiro::bench {
namespace {

/// Returns how many bytes a call moved: 0 if it would have blocked.
std::size_t bytesMoved(ssize_t count) {
    if (count < 0) {
        if (errno == EAGAIN || errno == EINTR) {
            return 0;
        }
        throw std::system_error{errno, std::generic_category(), "the server does not listen"};
    }
    return static_cast<std::size_t>(count);
}

std::size_t bytesRead(ssize_t count) {
    if (count == 0) {
        throw std::runtime_error{"the server ended before all replies came"};
    }
    return bytesMoved(count);
}

void setBlocking(int descriptor, bool blocking) {
    ::fcntl(descriptor, F_SETFL, blocking ? 0 : O_NONBLOCK);
}

} // namespace

std::string Request::line(int id) const {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + members + "}\n";
}

std::string Request::lines(int count) const {
    std::string text;
    for (int id = firstID; id < firstID + count; ++id) {
        text += line(id);
    }
    return text;
}

void send(Server& server, std::string_view lines) {
    setBlocking(server.requests(), true);
    while (!lines.empty()) {
        lines.remove_prefix(bytesMoved(::write(server.requests(), lines.data(), lines.size())));
    }
}

std::string firstReply(Server& server, std::string_view lines) {
    send(server, lines);
    setBlocking(server.replies(), true);
    std::string reply;
    std::array<char, 65'536> chunk{};
    while (!reply.ends_with('\n')) {
        const auto count = bytesRead(::read(server.replies(), chunk.data(), chunk.size()));
        reply.append(chunk.data(), count);
    }
    reply.pop_back();
    return reply;
}

double exchange(Server& server, std::string_view lines, std::string& replies) {
    setBlocking(server.requests(), false);
    setBlocking(server.replies(), false);
    std::size_t received = 0;
    const double start = seconds();
    while (received < replies.size()) {
        std::array<pollfd, 2> ends{
            {{server.replies(), POLLIN, 0}, {server.requests(), POLLOUT, 0}}};
        ::poll(ends.data(), lines.empty() ? 1 : 2, -1);
        if (ends[0].revents != 0) {
            received += bytesRead(
                ::read(server.replies(), replies.data() + received, replies.size() - received));
        }
        if (ends[1].revents != 0) {
            lines.remove_prefix(bytesMoved(::write(server.requests(), lines.data(), lines.size())));
        }
    }
    return seconds() - start;
}

void roundTrips(Server& server, std::string_view line, std::string& reply,
                std::vector<double>& trips) {
    setBlocking(server.requests(), true);
    setBlocking(server.replies(), true);
    double before = seconds();
    for (double& trip : trips) {
        bytesMoved(::write(server.requests(), line.data(), line.size()));
        for (std::size_t received = 0; received < reply.size();) {
            received += bytesRead(
                ::read(server.replies(), reply.data() + received, reply.size() - received));
        }
        const double now = seconds();
        trip = now - before;
        before = now;
    }
}

} // namespace velmiro::bench
