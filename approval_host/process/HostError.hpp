#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace velmiro::host {

/// The host cannot start; `what()` is one line for the user.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Returns the message for errno, as the system call just before left it.
inline std::string systemReason() {
    return std::generic_category().message(errno);
}

} // namespace velmiro::host
