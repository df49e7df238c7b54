#pragma once

#include "MCPStdio/concurrency/Task.hpp"

#include <atomic>
#include <coroutine>
#include <cstddef>

namespace MCPStdio {

/// Owns child tasks that run concurrently, and waits for all of them.
///
/// One coroutine adds the children and then awaits `finish()`, once; the group must outlive that.
/// Children must not throw: there is nobody to catch it.
class TaskGroup {
public:
    TaskGroup() = default;
    TaskGroup(const TaskGroup&) = delete;
    TaskGroup& operator=(const TaskGroup&) = delete;

    /// Starts a child, which runs on this thread up to its first suspension. Waits if there is no
    /// memory to start it.
    void add(Task<void> child) noexcept;

    /// `co_await group.finish()` resumes when every child has ended, on the thread of the last one.
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
    detail::Detached runChild(Task<void>& child);

    /// Returns true for the last one to leave.
    bool leave() noexcept;

    /// The running children, plus one for the coroutine that has yet to await `finish`, so that the
    /// count cannot reach zero before it does.
    std::atomic<std::size_t> running_{1};
    std::coroutine_handle<> waiting_;
};

} // namespace MCPStdio
