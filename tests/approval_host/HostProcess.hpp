#pragma once

#include "approval_host/Descriptor.hpp"

#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The real program, run by a test. Every wait has a deadline and fails the test when it passes.
namespace velmiro::host::test {

enum class Stdin { pipe, terminal, closed };

struct Start {
    std::vector<std::string> arguments{};
    Stdin input = Stdin::pipe;                        ///< a terminal is standard output as well
    unsigned short columns = 80;                      ///< of the terminal
    std::optional<unsigned> descriptors{};            ///< the most it may have
    std::optional<int> ignoredSignal{};               ///< ignored already when it starts
    std::map<std::string, std::string> environment{}; ///< added to the test's own
};

class HostProcess {
public:
    explicit HostProcess(const Start& start);
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;
    ~HostProcess();

    /// Waits for this text in what was printed behind the text waited for last, and gives all that
    /// was printed from there up to its end.
    std::string waitFor(std::string_view text);
    /// Whether it listens; otherwise it has ended. Waits until one of the two is certain.
    bool listens();
    /// What is printed within this time behind the text waited for last.
    std::string printedWithin(int milliseconds);

    void type(std::string_view text);
    void endInput() { input_.close(); }
    void closeOutput() { output_.close(); }
    void signal(int number) const;
    /// Holds the program until SIGCONT; it has stopped when this returns.
    void hold() const;

    /// The exit status; -1 where a signal ended it.
    int waitForExit();
    [[nodiscard]] const std::string& errors() const { return errors_; }
    [[nodiscard]] pid_t id() const { return child_; }

private:
    /// Reads what has come, for at most this long. False when there is nothing more to come.
    bool pump(int milliseconds);

    pid_t child_ = -1;
    Descriptor input_;
    Descriptor output_;
    Descriptor errorOutput_;
    std::string printed_;
    std::string errors_;
    std::size_t seen_ = 0;
};

} // namespace velmiro::host::test
