#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace velmiro::bench {

/// A server that runs as a child, with a pipe to its standard input and one from its output.
class Server {
public:
    /// Starts it. Throws std::system_error.
    explicit Server(const std::vector<std::string>& command);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    /// Closes its input and waits until it has ended.
    ~Server();

    [[nodiscard]] pid_t process() const noexcept { return process_; }
    [[nodiscard]] int requests() const noexcept { return requests_; } ///< to be written to
    [[nodiscard]] int replies() const noexcept { return replies_; }   ///< to be read from

private:
    pid_t process_ = -1;
    int requests_ = -1;
    int replies_ = -1;
};

/// Runs a program to its end and gives what it wrote to its standard output. Throws
/// std::system_error when it cannot start.
std::string outputOf(const std::vector<std::string>& command);

} // namespace velmiro::bench
