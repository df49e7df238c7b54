#include "bench/Server.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <unistd.h>

namespace velmiro::bench {

Server::Server(const std::vector<std::string>& command)
    : child_{{.arguments = command, .inheritsEnvironment = true}} {}

Server::~Server() {
    child_.closeInput();
    child_.closeOutput();
    child_.wait();
}

void Server::kill() noexcept {
    child_.signal(SIGKILL);
}

std::string outputOf(const std::vector<std::string>& command) {
    const Server program{command};
    std::string output;
    std::array<char, 65'536> chunk{};
    for (;;) {
        const ssize_t count = ::read(program.replies(), chunk.data(), chunk.size());
        if (count < 0) {
            throw std::system_error{errno, std::generic_category(), command.front()};
        }
        if (count == 0) {
            return output;
        }
        output.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

} // namespace velmiro::bench
