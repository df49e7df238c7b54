#pragma once

#include "support/ChildProcess.hpp"

#include <string>
#include <sys/types.h>
#include <vector>

namespace velmiro::bench {

/// A server that runs as a child, with our environment. Requests and replies are moved with system
/// calls on its pipes: what is measured must not depend on buffers of ours.
class Server {
public:
    /// Starts the server. Throws std::system_error.
    explicit Server(const std::vector<std::string>& command);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    /// Closes its input and waits until it has ended.
    ~Server();

    [[nodiscard]] pid_t process() const noexcept { return child_.pid(); }
    [[nodiscard]] int requests() const noexcept { return child_.inputDescriptor(); }
    [[nodiscard]] int replies() const noexcept { return child_.outputDescriptor(); }

    /// Kills the server, whatever it is waiting for.
    void kill() noexcept;

private:
    support::ChildProcess child_;
};

/// Runs a program to its end and returns what it wrote to its standard output. Throws
/// std::system_error if it cannot be started.
std::string outputOf(const std::vector<std::string>& command);

} // namespace velmiro::bench
