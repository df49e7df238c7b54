#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"

#include <atomic>
#include <cstddef>
#include <utility>

namespace MCPStdio {

/// What one thread has handed over to others and they have not begun.
///
/// A thread that hands over faster than others begin would fill the memory and the caches, which
/// costs more than the work itself. So it lets them catch up when very much lies ready. It never
/// waits long for work that hardly moves: where little begins in a moment, it goes on.
class Backlog {
public:
    /// One piece of work, from when it is handed over until it begins or is dropped.
    class [[nodiscard]] Entry {
    public:
        explicit Entry(Backlog& backlog) noexcept : backlog_{&backlog} {}
        Entry(Entry&& other) noexcept : backlog_{std::exchange(other.backlog_, nullptr)} {}
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        Entry& operator=(Entry&&) = delete;
        ~Entry() { leave(); }

        void leave() noexcept {
            if (backlog_ != nullptr) {
                std::exchange(backlog_, nullptr)->leave();
            }
        }

    private:
        Backlog* backlog_;
    };

    /// From any thread.
    Entry enter() noexcept {
        entered_.fetch_add(1, std::memory_order_relaxed);
        return Entry{*this};
    }

    /// To be called between two pieces by the one thread that hands them over.
    void letCatchUp() {
        if (size() > veryMany) {
            waitForFewer();
        }
    }

    /// How much is not begun, or was not a moment ago.
    [[nodiscard]] std::size_t size() const noexcept {
        // One that leaves between the two is counted as if it had not.
        const std::size_t left = left_.load(std::memory_order_acquire);
        return entered_.load(std::memory_order_relaxed) - left;
    }

    static constexpr std::size_t veryMany = 256;

private:
    void leave() noexcept;
    void waitForFewer();

    std::atomic<std::size_t> entered_{0};
    std::atomic<std::size_t> left_{0};
    Mutex mutex_;
    Condition fewer_;
    std::size_t
        leftAtWait_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< how many had left when last waited for
};

} // namespace MCPStdio
