#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"
#include "MCPStdio/concurrency/Token.hpp"

#include <atomic>
#include <cstddef>

namespace MCPStdio {

/// Work that one thread has handed over to others and that has not started yet.
///
/// A producer that is faster than its consumers would fill memory and caches, which costs more than
/// the work itself. So past a high-water mark it is held back until half of the backlog is gone.
/// It is never held back for long: if little work starts within a moment, because handlers block,
/// it continues.
class Backlog {
public:
    /// One piece of work, from when it is handed over until it starts or is dropped.
    using Entry = Token<Backlog>;

    /// Adds one piece of work. Called on any thread.
    Entry enter() noexcept {
        entered_.fetch_add(1, std::memory_order_relaxed);
        return Entry{*this};
    }

    /// Applies back-pressure. Called by the producing thread between two pieces of work.
    void holdBack() {
        if (size() > highWaterMark) {
            waitForRoom();
        }
    }

    /// Returns the amount of work that has not started, or had not a moment ago.
    [[nodiscard]] std::size_t size() const noexcept {
        // An entry released between the two loads still counts; the difference is never negative.
        const std::size_t left = left_.load(std::memory_order_acquire);
        return entered_.load(std::memory_order_relaxed) - left;
    }

    static constexpr std::size_t highWaterMark = 256;

private:
    friend class Token<Backlog>;
    void release() noexcept;
    void waitForRoom();

    std::atomic<std::size_t> entered_{0};
    std::atomic<std::size_t> left_{0};
    Mutex mutex_;
    Condition room_;
    std::size_t leftAtWait_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< `left_` when last waited for room
};

} // namespace MCPStdio
