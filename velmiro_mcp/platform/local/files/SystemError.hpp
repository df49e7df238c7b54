#pragma once

#include <cerrno>
#include <system_error>

namespace velmiro::local {

/// Returns the error that the last failed system call left in errno.
inline std::error_code lastError() noexcept {
    return {errno, std::generic_category()};
}

[[noreturn]] inline void throwLastError() {
    throw std::system_error{lastError()};
}

} // namespace velmiro::local
