#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace velmiro::demo {

/// A program that runs beside the demo, with a pipe to its standard input and one from its standard
/// output. Each wait ends with a Failure when it takes too long or a signal ends the demo.
class Child {
public:
    /// Starts the program. `environment` replaces or adds variables of the demo's own environment.
    Child(const std::string& program, const std::map<std::string, std::string>& environment);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    /// Ends the program when it still runs.
    ~Child();

    void write(std::string_view text) const;
    void closeInput() noexcept;

    /// The next line, without its end.
    std::string readLine();
    /// All that comes, up to and with the first of the marks that comes.
    std::string readUpTo(const std::vector<std::string>& marks);
    /// Waits for a line at the demo's standard input, as long as the child says nothing; empty when
    /// it said something, or there is no more input.
    [[nodiscard]] std::string readTypedLine() const;

    /// The exit status; -1 when a signal ended it.
    int wait();

private:
    void readMore();

    pid_t id_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string pending_;
};

/// Lets SIGINT, SIGTERM and SIGHUP end a wait instead of the demo, so that it can clean up.
void endWaitsOnSignals();

} // namespace velmiro::demo
