#pragma once

#include <chrono>
#include <new>
#include <thread>

namespace MCPStdio {

/// Returns what a function returns. While there is no memory for it, waits and calls it again: for
/// the few bytes without which somebody would wait forever.
template <typename Function>
auto patiently(const Function& function) {
    constexpr std::chrono::milliseconds pause{10};
    while (true) {
        try {
            return function();
        } catch (const std::bad_alloc&) {
            std::this_thread::sleep_for(pause);
        }
    }
}

} // namespace MCPStdio
