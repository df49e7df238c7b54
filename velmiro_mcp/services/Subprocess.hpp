#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmiro {

/// A program that runs as our child; its standard output and error come to us through pipes.
///
/// All operations block, and one thread uses it. That thread alone signals the child and reaps it,
/// so the signal never reaches another process that was given the same number since.
class Subprocess {
public:
    using Clock = std::chrono::steady_clock;

    /// Starts the program with the arguments given, its own name first. Should this process end
    /// before the program does, that ends no more than `longest` later. Throws std::system_error.
    Subprocess(const std::string& program, std::vector<std::string> arguments,
               std::chrono::seconds longest = std::chrono::minutes{1});
    Subprocess(const Subprocess&) = delete;
    Subprocess& operator=(const Subprocess&) = delete;
    /// Terminates and awaits a child that was not waited for.
    ~Subprocess();

    /// Once it is that late, whoever reads or waits calls `passed` and, if the child still runs,
    /// asks it to end (SIGTERM). This happens once; whether the child obeys is its own affair.
    void terminateAt(Clock::time_point deadline, std::function<void()> passed);

    /// All that the child, and whoever it left its descriptor to, writes until none of them has it.
    std::string readOutputToEnd() { return readToEnd(output_); }
    std::string readErrorToEnd() { return readToEnd(error_); }

    /// Reaps the child once it has ended. True when it ended by itself, with status 0.
    bool waitUntilExit();

private:
    class Pipe {
    public:
        Pipe();
        Pipe(const Pipe&) = delete;
        Pipe& operator=(const Pipe&) = delete;
        ~Pipe();
        [[nodiscard]] int reading() const noexcept { return ends_[0]; }
        [[nodiscard]] int writing() const noexcept { return ends_[1]; }
        void closeWriting() noexcept;

    private:
        std::array<int, 2> ends_{};
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
    std::function<void()> passed_; ///< until it was called
};

} // namespace velmiro
