#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "support/ChildProcess.hpp"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The real program, run by a test. Every wait has a deadline, and fails the test if it passes.
namespace velmiro::host::test {

enum class Stdin { pipe, terminal, closed };

struct Start {
    std::vector<std::string> arguments{};
    Stdin input = Stdin::pipe;                        ///< a terminal is standard output as well
    unsigned short columns = 80;                      ///< of the terminal
    std::optional<unsigned> descriptors{};            ///< the limit of its descriptors
    std::optional<int> ignoredSignal{};               ///< ignored when it starts
    std::map<std::string, std::string> environment{}; ///< added to the test's own
};

class HostProcess {
public:
    explicit HostProcess(const Start& start);
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;
    ~HostProcess() = default;

    /// Waits until `text` is printed after the text that was waited for last, and returns all that
    /// was printed in between, with `text`.
    std::string waitFor(std::string_view text);
    /// Waits until the host listens or has ended, and returns whether it listens.
    bool listens();
    /// Returns what is printed within this time after the text that was waited for last.
    std::string printedWithin(int milliseconds);

    void type(std::string_view text);
    void endInput() { input_.close(); }
    void closeOutput() { output_.close(); }
    void signal(int number) const;
    /// Stops the program until SIGCONT; it has stopped when this returns.
    void hold() const;

    /// Returns the exit status; -1 if a signal ended it.
    int waitForExit();
    [[nodiscard]] const std::string& errors() const { return errors_; }
    [[nodiscard]] pid_t id() const { return child_->pid(); }

private:
    /// Reads what is printed within this time. Returns false once both outputs have ended.
    bool pump(int milliseconds);

    std::optional<support::ChildProcess> child_;
    MCPStdio::Descriptor input_;
    MCPStdio::Descriptor output_;
    MCPStdio::Descriptor errorOutput_;
    std::string printed_;
    std::string errors_;
    std::size_t seen_ = 0; ///< of `printed_`
};

} // namespace velmiro::host::test
