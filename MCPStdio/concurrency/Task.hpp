#pragma once

#include <atomic>
#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

/// The unit of asynchronous work.
///
/// The hard question is how a finished child passes control to its parent without growing the
/// stack. Symmetric transfer needs a tail call, which one of our compilers emits only when it
/// optimises, and neither under sanitizers; a loop over a million children would overflow there. So
/// a parent runs its child with an ordinary call. If the child finishes within that call, the
/// parent continues without having suspended, and a loop uses no stack. If the child is still
/// waiting, it resumes its parent when it ends, on whatever thread that happens. One atomic
/// exchange decides which it is.
namespace MCPStdio {

template <typename Result>
class Task;

namespace detail {

class TaskPromiseBase {
public:
    std::suspend_always initial_suspend() noexcept { return {}; }

    struct FinalAwaiter {
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        template <typename Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> self) noexcept {
            // Releases the result to the parent, acquires the parent's handle.
            TaskPromiseBase& promise = self.promise();
            const bool parentWaits = promise.met_.exchange(true, std::memory_order_acq_rel);
            return parentWaits ? promise.parent_ : std::noop_coroutine();
        }
        void await_resume() const noexcept {}
    };
    FinalAwaiter final_suspend() noexcept { return {}; }

    void unhandled_exception() noexcept { error_ = std::current_exception(); }

    /// Runs the task on this thread. Returns true if the parent has to wait for its end.
    template <typename Promise>
    static bool start(std::coroutine_handle<Promise> self, std::coroutine_handle<> parent) {
        TaskPromiseBase& promise = self.promise();
        promise.parent_ = parent;
        self.resume();
        // The second to arrive here sees that the other was first. If we are first, neither frame
        // may be touched any more: the task may end on another thread, and its parent with it.
        return !promise.met_.exchange(true, std::memory_order_acq_rel);
    }

protected:
    void rethrowError() const {
        if (error_) {
            std::rethrow_exception(error_);
        }
    }

private:
    std::coroutine_handle<> parent_;
    std::exception_ptr error_;
    std::atomic<bool> met_{false};
};

template <typename Result>
class TaskPromise : public TaskPromiseBase {
public:
    Task<Result> get_return_object() noexcept;
    template <typename Value>
        requires std::constructible_from<Result, Value&&>
    void return_value(Value&& value) {
        result_.emplace(std::forward<Value>(value));
    }
    Result take() {
        rethrowError();
        return *std::move(result_);
    }

private:
    std::optional<Result> result_;
};

template <>
class TaskPromise<void> : public TaskPromiseBase {
public:
    Task<void> get_return_object() noexcept;
    void return_void() noexcept {}
    void take() const { rethrowError(); }
};

/// A coroutine that starts immediately, has no owner and destroys itself at its end; it must not
/// throw.
struct Detached {
    struct promise_type {
        Detached get_return_object() const noexcept { return {}; }
        std::suspend_never initial_suspend() const noexcept { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        void unhandled_exception() const noexcept { std::terminate(); }
    };
};

} // namespace detail

/// A lazy computation, awaited at most once: `co_await std::move(task)`.
///
/// Awaiting starts it on the awaiting thread and runs it up to its first suspension. The awaiter
/// receives its result or exception: on the awaiting thread if the task has ended by then,
/// otherwise on the thread that ends it. A task that is never awaited does nothing. One that has
/// started must not be destroyed before its end.
template <typename Result = void>
class [[nodiscard]] Task {
public:
    using promise_type = detail::TaskPromise<Result>;

    Task(Task&& other) noexcept : handle_{std::exchange(other.handle_, nullptr)} {}
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    Task& operator=(Task&&) = delete;
    ~Task() {
        if (handle_) {
            handle_.destroy();
        }
    }

    auto operator co_await() && noexcept {
        struct Awaiter {
            std::coroutine_handle<promise_type> handle;

            [[nodiscard]] bool await_ready() const noexcept { return false; }
            bool await_suspend(std::coroutine_handle<> parent) {
                return promise_type::start(handle, parent);
            }
            Result await_resume() { return handle.promise().take(); }
        };
        return Awaiter{handle_};
    }

private:
    friend promise_type;
    explicit Task(std::coroutine_handle<promise_type> handle) noexcept : handle_{handle} {}

    std::coroutine_handle<promise_type> handle_;
};

template <typename Result>
Task<Result> detail::TaskPromise<Result>::get_return_object() noexcept {
    return Task<Result>{std::coroutine_handle<TaskPromise>::from_promise(*this)};
}

inline Task<void> detail::TaskPromise<void>::get_return_object() noexcept {
    return Task<void>{std::coroutine_handle<TaskPromise>::from_promise(*this)};
}

} // namespace MCPStdio
