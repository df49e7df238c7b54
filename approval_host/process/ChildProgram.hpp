#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace velmiro::host {

/// Another program, run until it ends or this object does. It gets an empty standard input, a
/// standard output that is read here, and this program's standard error.
class ChildProgram {
public:
    struct Result {
        bool endedWell = false; ///< by itself, with status 0
        std::string printed;    ///< the first few bytes of it
    };

    /// Starts the program; `command` is its path and its arguments. Throws HostError. For a locale
    /// that is not UTF-8 the program gets one that is, or it would not take our text.
    explicit ChildProgram(const std::vector<std::string>& command);
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;
    /// Ends the program, and what it has started in its process group, at once.
    ~ChildProgram();

    /// Returns how the program has ended; `nullopt` while it runs. Does not wait.
    std::optional<Result> result();

private:
    MCPStdio::Descriptor output_;
    pid_t id_ = -1; ///< -1: it has ended and been reaped
};

} // namespace velmiro::host
