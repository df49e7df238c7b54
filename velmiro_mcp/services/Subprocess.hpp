#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmiro {

/// A program that runs as our child and writes its standard output and error to pipes of ours.
///
/// All operations block. One thread uses it: since that thread alone signals the child and reaps
/// it, a signal never reaches another process that was given the same number later.
class Subprocess {
public:
    using Clock = std::chrono::steady_clock;

    /// Starts the program with `arguments`, its own name first. If this process ends before the
    /// program does, the program ends at most `longest` later. Throws std::system_error.
    Subprocess(const std::string& program, std::vector<std::string> arguments,
               std::chrono::seconds longest = std::chrono::minutes{1});
    Subprocess(const Subprocess&) = delete;
    Subprocess& operator=(const Subprocess&) = delete;
    /// Terminates a child that was not waited for, and waits for it.
    ~Subprocess();

    /// Sets a deadline. Once it has passed, the current or next call that reads or waits sends
    /// SIGTERM to a running child, which may ignore it, and calls `passed`. This happens once.
    void terminateAt(Clock::time_point deadline, std::function<void()> passed);

    /// Return all that is written until the child, and every process that inherited the pipe from
    /// the child, has closed its end. Throw std::system_error.
    std::string readOutputToEnd() { return readToEnd(output_); }
    std::string readErrorToEnd() { return readToEnd(error_); }

    /// Waits for the child to end and reaps it. Returns whether it exited with status 0.
    bool waitUntilExit();

private:
    struct Pipe {
        Pipe(); ///< throws std::system_error
        MCPStdio::Descriptor reading;
        MCPStdio::Descriptor writing;
    };

    std::string readToEnd(const Pipe& pipe);
    void awaitReadable(int descriptor);
    [[nodiscard]] int untilDeadline();
    [[nodiscard]] bool isRunning() const noexcept;
    int reap() noexcept;

    Pipe output_;
    Pipe error_;
    pid_t child_;
    bool reaped_ = false;
    Clock::time_point deadline_ = Clock::time_point::max();
    std::function<void()> passed_; ///< null once it was called
};

} // namespace velmiro
