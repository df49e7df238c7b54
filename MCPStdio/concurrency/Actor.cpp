#include "MCPStdio/concurrency/Actor.hpp"

namespace MCPStdio {

bool Actor::becomeBusy() noexcept {
    auto expected = idle;
    // Acquires what the last holder wrote.
    return state_.compare_exchange_strong(expected, busy, std::memory_order_acquire,
                                          std::memory_order_relaxed);
}

/// False when the actor has become idle meanwhile and the turn was taken.
[[gnu::noinline]] bool Actor::waitInLine(Entering& waiter) noexcept {
    auto seen = state_.load(std::memory_order_relaxed);
    while (true) {
        if (seen == idle) {
            if (state_.compare_exchange_weak(seen, busy, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
                return false;
            }
            continue;
        }
        waiter.olderWaiter_ = seen == busy ? nullptr : reinterpret_cast<Entering*>(seen);
        // Releases the waiter to the holder. It may run as soon as this has happened.
        if (state_.compare_exchange_weak(seen, reinterpret_cast<std::uintptr_t>(&waiter),
                                         std::memory_order_release, std::memory_order_relaxed)) {
            return true;
        }
    }
}

void Actor::leave() noexcept {
    if (line_.empty()) {
        auto expected = busy;
        // Releases what this holder wrote to the next one.
        if (state_.compare_exchange_strong(expected, idle, std::memory_order_release,
                                           std::memory_order_relaxed)) {
            return;
        }
        // Acquires those who came, latest first, and puts them in the order in which they came.
        const auto latest = state_.exchange(busy, std::memory_order_acquire);
        Entering* reversed = nullptr;
        for (auto* waiter = reinterpret_cast<Entering*>(latest); waiter != nullptr;) {
            auto* older = std::exchange(waiter->olderWaiter_, reversed);
            reversed = waiter;
            waiter = older;
        }
        for (auto* waiter = reversed; waiter != nullptr; waiter = waiter->olderWaiter_) {
            line_.push(*waiter);
        }
    }
    // The turn passes on without the actor ever being idle, so nobody can push in.
    DispatchQueue::global().async(line_.pop());
}

} // namespace MCPStdio
