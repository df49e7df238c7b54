#pragma once

#include <optional>
#include <string>

namespace velmiro::support {

/// Sets an environment variable, or removes it if the value is null, and restores it on
/// destruction. The C library reads TZ again each time.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const char* value);
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable();

private:
    std::string name_;
    std::optional<std::string> before_;
};

} // namespace velmiro::support
