#pragma once

#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <atomic>
#include <coroutine>
#include <cstdint>
#include <optional>
#include <utility>

namespace MCPStdio {

/// A serial executor: of all who enter, one at a time has the turn, in the order in which they
/// came.
///
///     {
///         const auto turn = co_await actor.enter();
///         ... what must not overlap ...
///     }
///
/// Entering an idle actor goes on at once, on the same thread; at a busy one the coroutine waits
/// and goes on later, on the global queue. A turn is not a lock: end it before awaiting anything
/// else, and take another one afterwards. The actor must outlive all turns.
class Actor {
public:
    class [[nodiscard]] Turn {
    public:
        explicit Turn(Actor& actor) noexcept : actor_{&actor} {}
        Turn(Turn&& other) noexcept : actor_{std::exchange(other.actor_, nullptr)} {}
        Turn& operator=(Turn&& other) noexcept {
            end();
            actor_ = std::exchange(other.actor_, nullptr);
            return *this;
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() { end(); }

        void end() noexcept {
            if (actor_ != nullptr) {
                std::exchange(actor_, nullptr)->leave();
            }
        }

    private:
        Actor* actor_;
    };

    Actor() = default;
    Actor(const Actor&) = delete;
    Actor& operator=(const Actor&) = delete;

    /// `auto turn = co_await actor.enter();`
    auto enter() noexcept { return Entering{*this}; }

    /// A turn where that takes no waiting: the actor is idle.
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
            return actor_.waitInLine(*this);
        }
        [[nodiscard]] Turn await_resume() const noexcept { return Turn{actor_}; }
        void run() noexcept override { waiting_.resume(); }

    private:
        friend class Actor;
        Actor& actor_;
        std::coroutine_handle<> waiting_;
        Entering* olderWaiter_ = nullptr;
    };

    [[nodiscard]] bool becomeBusy() noexcept;
    [[nodiscard]] bool waitInLine(Entering& waiter) noexcept;
    void leave() noexcept;

    // One word says all: `idle`; or `busy` with nobody waiting; or the address of the latest of
    // those who came since the holder last looked, who are linked from late to early.
    static constexpr std::uintptr_t idle = 0;
    static constexpr std::uintptr_t busy = 1;
    std::atomic<std::uintptr_t> state_{idle};
    /// Those whose turn comes next, in order. Belongs to whoever has the turn.
    JobList line_;
};

} // namespace MCPStdio
