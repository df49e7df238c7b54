#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace velmiro::osascript {

/// A command line that cannot be read, or that asks for something that is not here.
class CommandLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

constexpr const char* usage =
    "usage: osascript -l JavaScript -e SCRIPT [-e SCRIPT]... [-s FLAGS] [ARGUMENT]...";

struct CommandLine {
    std::string source;                 ///< the texts of all -e, as lines of one script
    std::vector<std::string> arguments; ///< what `run` is given
    bool asSource = false;              ///< whether the result is printed as its source (-ss)
    bool errorsToOutput = false;        ///< whether errors go to standard output (-so)
};

/// Reads the command line as the system's program does, by the rules of getopt: what begins with
/// `-` is an option, up to the first argument that does not, or that is `-`, or `--`, which is
/// swallowed. Of flags that exclude each other the last counts. Throws CommandLineError. To be
/// called once.
CommandLine readCommandLine(int count, char* const given[]);

} // namespace velmiro::osascript
