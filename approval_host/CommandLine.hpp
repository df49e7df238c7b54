#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace velmiro::host {

/// Who answers the questions.
enum class Policy { askUser, askInWindow, allowAll, refuseAll };

struct Options {
    Policy policy = Policy::askUser;
    std::optional<std::string> socketPath;
    bool help = false;
    bool version = false; ///< counts if `help` is not set
};

/// The command line is wrong; `what()` says why, in one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

extern const std::string_view usage;

/// Reads the arguments after the program's name. Throws UsageError.
Options parseCommandLine(std::span<const char* const> arguments);

} // namespace velmiro::host
