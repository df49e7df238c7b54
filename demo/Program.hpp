#pragma once

#include "support/ChildProcess.hpp"

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>

namespace velmiro::demo {

/// A program of the session, driven through its standard input and output. Each wait throws a
/// Failure if it takes too long, or if a signal ends the demo.
class Program {
public:
    /// Starts the program. `environment` replaces or adds variables of the demo's own environment.
    Program(const std::string& path, const std::map<std::string, std::string>& environment);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    /// Terminates the program if it still runs, and waits for it.
    ~Program();

    void write(std::string_view text) const { child_.write(text); }
    void closeInput() noexcept { child_.closeInput(); }

    /// Returns the next line, without its end.
    std::string readLine();
    /// Returns what is printed next, up to and including the first of the marks.
    std::string readThrough(std::initializer_list<std::string_view> marks);
    /// Waits for a line at the demo's own standard input. Returns an empty text if the program
    /// prints something first, or the input ends.
    [[nodiscard]] std::string readTypedLine() const;

    /// Returns the exit status; -1 if a signal ended it.
    int wait();

private:
    support::ChildProcess child_;
};

/// Makes SIGINT, SIGTERM and SIGHUP end a wait instead of the demo, so that it can clean up.
void endWaitsOnSignals();

} // namespace velmiro::demo
