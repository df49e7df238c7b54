#include "bench/scale/SilentHost.hpp"

#include "MCPStdio/json/JSONValue.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmiro::bench {
namespace {

using MCPStdio::Descriptor;
using MCPStdio::JSONValue;

[[noreturn]] void fail(const char* call) {
    throw std::system_error{errno, std::generic_category(), call};
}

void readQuestion(int connection) {
    std::string line;
    std::array<char, 1024> chunk{};
    while (!line.ends_with('\n')) {
        const ssize_t count = ::read(connection, chunk.data(), chunk.size());
        if (count <= 0) {
            throw std::runtime_error{"a question ends early: " + line};
        }
        line.append(chunk.data(), static_cast<std::size_t>(count));
    }
    const JSONValue question = JSONValue::parse(line);
    if (question["tool"] == nullptr || question["summary"] == nullptr) {
        throw std::runtime_error{"no question: " + line};
    }
}

} // namespace

SilentHost::SilentHost(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path) {
        throw std::runtime_error{"the socket's path is too long: " + text};
    }
    std::memcpy(address.sun_path, text.data(), text.size());
    listener_ = Descriptor{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (!listener_) {
        fail("socket");
    }
    if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_.get(), SOMAXCONN) != 0) {
        throw std::system_error{errno, std::generic_category(), text};
    }
}

std::size_t SilentHost::takeQuestions(std::size_t count, std::chrono::milliseconds patience) {
    while (waiting_.size() < count) {
        Descriptor connection{::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
        if (connection) {
            waiting_.push_back(std::move(connection));
            readQuestion(waiting_.back().get());
            continue;
        }
        if (errno != EAGAIN && errno != EINTR) {
            fail("accept4");
        }
        pollfd coming{listener_.get(), POLLIN, 0};
        if (::poll(&coming, 1, static_cast<int>(patience.count())) == 0) {
            break;
        }
    }
    return waiting_.size();
}

void SilentHost::refuseAll() {
    constexpr std::string_view no = "{\"allow\":false}\n";
    for (const Descriptor& connection : waiting_) {
        if (::send(connection.get(), no.data(), no.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(no.size())) {
            fail("send");
        }
    }
    waiting_.clear();
}

} // namespace velmiro::bench
