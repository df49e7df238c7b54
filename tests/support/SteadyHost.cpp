#include "tests/support/SteadyHost.hpp"

#include "tests/support/ScriptedHost.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace velmiro::test {

using MCPStdio::Descriptor;

SteadyHost::SteadyHost(const std::filesystem::path& path,
                       std::function<bool(const std::string&)> allows)
    : allows_{std::move(allows)},
      listener_{::socket(AF_UNIX, SOCK_STREAM, 0)} {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path) {
        throw std::system_error{ENAMETOOLONG, std::generic_category(), text};
    }
    std::memcpy(address.sun_path, text.data(), text.size());
    ::fcntl(listener_.get(), F_SETFD, FD_CLOEXEC);
    if (::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_.get(), SOMAXCONN) != 0) {
        throw std::system_error{errno, std::generic_category(), text};
    }
    answering_ = std::thread{[this] { answerAll(); }};
}

SteadyHost::~SteadyHost() {
    ending_ = true;
    answering_.join();
}

void SteadyHost::answerAll() {
    constexpr int pause = 100; // milliseconds
    while (!ending_) {
        pollfd ready{listener_.get(), POLLIN, 0};
        if (::poll(&ready, 1, pause) <= 0) {
            continue;
        }
        const Descriptor connection{::accept(listener_.get(), nullptr, nullptr)};
        if (connection) {
            const bool allowed = allows_(readQuestion(connection.get()));
            answerWith(connection.get(), allowed ? "{\"allow\":true}\n" : "{\"allow\":false}\n");
        }
    }
}

} // namespace velmiro::test
