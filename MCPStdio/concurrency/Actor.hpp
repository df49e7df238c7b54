#pragma once

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/Token.hpp"

#include <atomic>
#include <coroutine>
#include <cstdint>
#include <optional>

namespace MCPStdio {

/// A serial executor: coroutines that enter it take turns, one at a time, first come, first served.
///
///     {
///         const auto turn = co_await actor.enter();
///         ... what must not overlap ...
///     }
///
/// Entering an idle actor continues immediately, on the same thread. At a busy one the coroutine is
/// suspended and later resumed on the global queue. A turn is not a lock: release it before
/// awaiting anything else, and take another one afterwards. The actor must outlive all turns.
class Actor {
public:
    using Turn = Token<Actor>;

    Actor() = default;
    Actor(const Actor&) = delete;
    Actor& operator=(const Actor&) = delete;

    /// `auto turn = co_await actor.enter();`
    auto enter() noexcept { return Entering{*this}; }

    /// Returns a turn if the actor is idle; none if entering would have to wait.
    std::optional<Turn> enterIfIdle() noexcept {
        return becomeBusy() ? std::optional<Turn>{std::in_place, *this} : std::nullopt;
    }

private:
    class Entering final : public Job {
    public:
        explicit Entering(Actor& actor) noexcept : actor_{actor} {}
        [[nodiscard]] bool await_ready() const noexcept { return actor_.becomeBusy(); }
        bool await_suspend(std::coroutine_handle<> waiting) noexcept {
            waiting_ = waiting;
            return actor_.enqueue(*this);
        }
        [[nodiscard]] Turn await_resume() const noexcept { return Turn{actor_}; }
        void run() noexcept override { waiting_.resume(); }

    private:
        friend class Actor;
        Actor& actor_;
        std::coroutine_handle<> waiting_;
        Entering* previous_ = nullptr; ///< the waiter that arrived before this one
    };

    friend class Token<Actor>;
    void release() noexcept;
    [[nodiscard]] bool becomeBusy() noexcept;
    [[nodiscard]] bool enqueue(Entering& waiter) noexcept;

    // The whole state is one word: `idle`; or `busy`, with no new waiter; or the address of the
    // last waiter to arrive since the holder looked, from which the earlier ones are linked.
    static constexpr std::uintptr_t idle = 0;
    static constexpr std::uintptr_t busy = 1;
    std::atomic<std::uintptr_t> state_{idle};
    /// Waiters whose turn comes next, in order of arrival. Accessed only by the holder of the turn.
    JobList waiters_;
};

} // namespace MCPStdio
