#pragma once

#include <chrono>
#include <thread>

namespace velmiro::support {

/// Waits until a condition holds. Returns false if it does not within the time.
template <typename Condition>
bool eventually(Condition holds, std::chrono::milliseconds limit = std::chrono::seconds{30}) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{2});
    }
    return true;
}

} // namespace velmiro::support
