#pragma once

#include <stdexcept>
#include <string>

namespace velmiro::demo {

/// The session did not go as it should; `what()` says why.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline void require(bool holds, const std::string& what) {
    if (!holds) {
        throw Failure{what};
    }
}

} // namespace velmiro::demo
