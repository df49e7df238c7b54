#pragma once

#include <span>
#include <stdexcept>
#include <string_view>

namespace velmiro::doctor {

enum class Request { examine, help, version };

/// The command line is wrong; `what()` says why, in one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

extern const std::string_view usage;

/// Reads the arguments after the program's name. Throws UsageError.
Request parseCommandLine(std::span<const char* const> arguments);

} // namespace velmiro::doctor
