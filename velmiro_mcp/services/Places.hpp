#pragma once

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/Mutex.hpp"

#include <coroutine>
#include <cstddef>
#include <utility>

namespace velmiro {

/// So many may be inside at once; who comes when all places are taken waits, without a thread, in
/// the order in which they came.
///
///     auto place = co_await places.enter();
///
/// A waiting coroutine goes on on the global queue. The object must outlive all who enter.
class Places {
public:
    /// One of the places; given back with its owner, or before. May be given back on any thread.
    class [[nodiscard]] Place {
    public:
        explicit Place(Places& places) noexcept : places_{&places} {}
        Place(Place&& other) noexcept : places_{std::exchange(other.places_, nullptr)} {}
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        Place& operator=(Place&&) = delete;
        ~Place() { leave(); }

        /// Does nothing the second time.
        void leave() noexcept {
            if (places_ != nullptr) {
                std::exchange(places_, nullptr)->leave();
            }
        }

    private:
        Places* places_;
    };

    explicit Places(std::size_t count) noexcept : free_{count} {}
    Places(const Places&) = delete;
    Places& operator=(const Places&) = delete;

    auto enter() noexcept { return Entering{*this}; }

private:
    class Entering final : public MCPStdio::Job {
    public:
        explicit Entering(Places& places) noexcept : places_{places} {}
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        bool await_suspend(std::coroutine_handle<> waiting) noexcept {
            waiting_ = waiting;
            return places_.waitInLine(*this);
        }
        Place await_resume() const noexcept { return Place{places_}; }
        void run() noexcept override { waiting_.resume(); }

    private:
        Places& places_;
        std::coroutine_handle<> waiting_;
    };

    [[nodiscard]] bool waitInLine(MCPStdio::Job& waiter) noexcept;
    void leave() noexcept;

    MCPStdio::Mutex mutex_;
    std::size_t free_ MCPSTDIO_GUARDED_BY(mutex_);
    MCPStdio::JobList line_ MCPSTDIO_GUARDED_BY(mutex_);
};

} // namespace velmiro
