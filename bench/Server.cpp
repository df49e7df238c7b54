#include "bench/Server.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace velmiro::bench {
namespace {

struct Pipe {
    std::array<int, 2> ends{};

    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error{errno, std::generic_category(), "pipe2"};
        }
    }
};

} // namespace

Server::Server(const std::vector<std::string>& command) {
    const Pipe toServer;
    const Pipe fromServer;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, toServer.ends[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, fromServer.ends[1], STDOUT_FILENO);
    // We ignore SIGPIPE; a server gets it as it would from a host.
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t restored;
    ::sigemptyset(&restored);
    ::sigaddset(&restored, SIGPIPE);
    ::posix_spawnattr_setsigdefault(&attributes, &restored);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    const int error = ::posix_spawn(&process_, arguments.front(), &actions, &attributes,
                                    arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(toServer.ends[0]);
    ::close(fromServer.ends[1]);
    requests_ = toServer.ends[1];
    replies_ = fromServer.ends[0];
    if (error != 0) {
        ::close(requests_);
        ::close(replies_);
        throw std::system_error{error, std::generic_category(), command.front()};
    }
}

Server::~Server() {
    ::close(requests_);
    ::close(replies_);
    int status = 0;
    while (::waitpid(process_, &status, 0) == -1 && errno == EINTR) {
    }
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
