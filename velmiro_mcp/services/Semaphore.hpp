#pragma once

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/Mutex.hpp"
#include "MCPStdio/concurrency/Token.hpp"

#include <coroutine>
#include <cstddef>

namespace velmiro {

/// A counting semaphore for coroutines. One that finds no permit free is suspended, without a
/// thread, and resumed on the global queue, first come, first served.
///
///     auto permit = co_await semaphore.acquire();
///
/// The semaphore must outlive all permits and all waiters.
class Semaphore {
public:
    /// Returned when it is destroyed, or released before; on any thread.
    using Permit = MCPStdio::Token<Semaphore>;

    explicit Semaphore(std::size_t permits) noexcept : free_{permits} {}
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    auto acquire() noexcept { return Acquiring{*this}; }

private:
    class Acquiring final : public MCPStdio::Job {
    public:
        explicit Acquiring(Semaphore& semaphore) noexcept : semaphore_{semaphore} {}
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        bool await_suspend(std::coroutine_handle<> waiting) noexcept {
            waiting_ = waiting;
            return semaphore_.enqueue(*this);
        }
        Permit await_resume() const noexcept { return Permit{semaphore_}; }
        void run() noexcept override { waiting_.resume(); }

    private:
        Semaphore& semaphore_;
        std::coroutine_handle<> waiting_;
    };

    friend class MCPStdio::Token<Semaphore>;
    void release() noexcept;
    [[nodiscard]] bool enqueue(MCPStdio::Job& waiter) noexcept;

    MCPStdio::Mutex mutex_;
    std::size_t free_ MCPSTDIO_GUARDED_BY(mutex_);
    MCPStdio::JobList waiters_ MCPSTDIO_GUARDED_BY(mutex_);
};

} // namespace velmiro
