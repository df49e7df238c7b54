#pragma once

#include "MCPStdio/concurrency/TaskGroup.hpp"

#include <atomic>
#include <coroutine>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>

namespace MCPStdio {

/// Lets the thread that reads an input run a task meanwhile. A thread on standby waits for input,
/// and only while the reading thread is away: what arrives then makes it continue the coroutine
/// that reads, so reading never waits for the task.
///
/// Handing each task to another thread instead costs two switches of threads: `echo, round trip`
/// takes 2.5 times as long as the limit then, and 1.5 times with this.
///
/// Used by one coroutine, on the thread that it is on. Where the system or the input lacks what
/// this needs, it is never ready.
class Standby {
    struct State;

public:
    /// One time that the reading thread is away.
    class Absence {
    public:
        /// Ends the absence early, if it is called on the thread that is away before another one has
        /// taken over: called before something that makes input likely.
        void end() const noexcept;

    private:
        friend class Standby;
        Absence(State& state, std::uint64_t number) noexcept : state_{&state}, number_{number} {}
        [[nodiscard]] bool begin(std::coroutine_handle<> reader) const noexcept;

        State* state_;
        std::uint64_t number_;
        std::thread::id thread_ = std::this_thread::get_id();
    };

    /// Does not own the descriptor.
    explicit Standby(int input) noexcept : input_{input} {}
    Standby(const Standby&) = delete;
    Standby& operator=(const Standby&) = delete;
    ~Standby();

    /// Returns whether a thread is on standby and nothing can be read now. If there is no such
    /// thread, asks for one.
    [[nodiscard]] bool isReady() noexcept;

    /// Returns the next absence, which `runMeanwhile` begins. It must be ready.
    [[nodiscard]] Absence absence() noexcept { return {*state_, ++absences_}; }

    /// `co_await standby.runMeanwhile(absence, group, task)` adds a task to the group and runs it on
    /// this thread up to its first suspension. The coroutine continues then, or before if there is
    /// input, on the thread that was on standby.
    auto runMeanwhile(Absence absence, TaskGroup& group, Task<void> task) noexcept {
        return Awaiter{state_, absence, group, std::move(task)};
    }

private:
    class Awaiter {
    public:
        Awaiter(std::shared_ptr<State> state, Absence absence, TaskGroup& group, Task<void> task)
            : state_{std::move(state)},
              absence_{absence},
              group_{group},
              task_{std::move(task)} {}

        [[nodiscard]] bool await_ready() const noexcept { return false; }
        bool await_suspend(std::coroutine_handle<> reader);
        void await_resume() const noexcept {}

    private:
        std::shared_ptr<State> state_;
        Absence absence_;
        TaskGroup& group_;
        Task<void> task_;
    };

    static Task<void> beginAndRun(Absence absence, std::coroutine_handle<> reader,
                                  Task<void>& task);

    int input_;
    std::uint64_t absences_ = 0;
    bool isUsable_ = false;
    std::shared_ptr<State> state_; ///< shared with the thread on standby; none before it is needed
};

} // namespace MCPStdio
