#include "MCPStdio/concurrency/Continuation.hpp"

#include <cassert>
#include <stdexcept>

namespace MCPStdio::detail {

std::exception_ptr droppedContinuation() noexcept {
    assert(false && "a continuation was dropped without being resumed");
    return std::make_exception_ptr(std::logic_error{"the operation ended without a result"});
}

void resumedTwice() noexcept {
    assert(false && "a continuation was resumed twice");
}

} // namespace MCPStdio::detail
