#include "MCPStdio/concurrency/Actor.hpp"

#include <utility>

namespace MCPStdio {

bool Actor::becomeBusy() noexcept {
    auto expected = idle;
    // Acquires what the last holder wrote.
    return state_.compare_exchange_strong(expected, busy, std::memory_order_acquire,
                                          std::memory_order_relaxed);
}

/// Returns false if the actor has become idle meanwhile and the turn was taken instead.
[[gnu::noinline]] bool Actor::enqueue(Entering& waiter) noexcept {
    auto seen = state_.load(std::memory_order_relaxed);
    while (true) {
        if (seen == idle) {
            if (state_.compare_exchange_weak(seen, busy, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
                return false;
            }
            continue;
        }
        waiter.previous_ = seen == busy ? nullptr : reinterpret_cast<Entering*>(seen);
        // Releases the waiter to the holder, which may resume it from this moment on.
        if (state_.compare_exchange_weak(seen, reinterpret_cast<std::uintptr_t>(&waiter),
                                         std::memory_order_release, std::memory_order_relaxed)) {
            return true;
        }
    }
}

void Actor::release() noexcept {
    if (waiters_.empty()) {
        auto expected = busy;
        // Releases what this holder wrote to the next one.
        if (state_.compare_exchange_strong(expected, idle, std::memory_order_release,
                                           std::memory_order_relaxed)) {
            return;
        }
        // Acquires the new waiters, last one first, and puts them into order of arrival.
        const auto last = state_.exchange(busy, std::memory_order_acquire);
        Entering* first = nullptr;
        for (auto* waiter = reinterpret_cast<Entering*>(last); waiter != nullptr;) {
            auto* previous = std::exchange(waiter->previous_, first);
            first = waiter;
            waiter = previous;
        }
        for (auto* waiter = first; waiter != nullptr; waiter = waiter->previous_) {
            waiters_.push(*waiter);
        }
    }
    // The turn is passed on while the actor stays busy, so nobody can overtake.
    DispatchQueue::global().async(waiters_.pop());
}

} // namespace MCPStdio
