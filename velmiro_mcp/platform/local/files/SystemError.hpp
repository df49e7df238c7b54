#pragma once

#include <cerrno>
#include <system_error>

namespace velmiro::local {

/// Returns the error that the last system call that failed left in errno.
inline std::error_code lastError() noexcept {
    return {errno, std::generic_category()};
}

[[noreturn]] inline void throwLastError() {
    throw std::system_error{lastError()};
}

} // namespace velmiro::local
