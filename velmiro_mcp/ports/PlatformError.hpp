#pragma once

#include <stdexcept>

namespace velmiro {

/// The platform could not do what it was asked; `what()` is its own description, fit for the agent.
class PlatformError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace velmiro
