#pragma once

#include "MCPStdio/concurrency/Task.hpp"

#include <atomic>
#include <coroutine>
#include <cstddef>

namespace MCPStdio {

/// Owns child tasks that run beside one another, and waits for all of them.
///
/// One coroutine adds the children and then awaits `finish()`, once; the group must outlive that.
/// Children must not throw: nobody is there to hear it.
class TaskGroup {
public:
    TaskGroup() = default;
    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;

    /// Starts a child: it runs on this thread up to the first point where it has to wait.
    void add(Task<void> child) { runChild(std::move(child)); }

    /// `co_await group.finish()` goes on when every child has ended, on the thread of the last one.
    auto finish() noexcept {
        struct Awaiter {
            TaskGroup& group;

            [[nodiscard]] bool await_ready() const noexcept { return false; }
            bool await_suspend(std::coroutine_handle<> waiting) noexcept {
                group.waiting_ = waiting;
                return !group.leave();
            }
            void await_resume() const noexcept {}
        };
        return Awaiter{*this};
    }

private:
    detail::Detached runChild(Task<void> child);

    /// True for the last one to leave.
    bool leave() noexcept;

    /// The children that run, and one more for the coroutine that has yet to await `finish`: so the
    /// count cannot reach zero before that.
    std::atomic<std::size_t> running_{1};
    std::coroutine_handle<> waiting_;
};

} // namespace MCPStdio
