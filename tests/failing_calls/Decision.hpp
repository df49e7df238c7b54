#pragma once

#include "tests/failing_calls/Plan.hpp"

#include <cstddef>

namespace velmiro::test {

/// What becomes of one call.
enum class Decision : unsigned char { proceed, fail, partial, halfThenDie, thenDie };

/// Counts a call and decides what becomes of it. On `fail`, errno is set.
Decision decide(Call call, const char* path = nullptr) noexcept;

/// Returns how much of `size` bytes a call reads or writes.
std::size_t partOf(std::size_t size, Decision decision) noexcept;

/// Kills this process if that was decided. To be called after the call.
void carryOut(Decision decision) noexcept;

/// Returns the plan; null if this process has none.
Plan* plan() noexcept;

/// Makes a call as decided. A call that fails returns -1.
template <typename Perform>
auto attempt(Call call, const char* path, const Perform& perform) -> decltype(perform()) {
    const Decision decision = decide(call, path);
    if (decision == Decision::fail) {
        return -1;
    }
    const auto result = perform();
    carryOut(decision);
    return result;
}

} // namespace velmiro::test
