#pragma once

#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace MCPStdio {

namespace detail {

/// Reports a continuation that was dropped without a result. Traps in a debug build; in a release
/// build returns the error that the waiting coroutine receives, so that it does not wait forever.
std::exception_ptr droppedContinuation() noexcept;
/// Reports a continuation that was resumed twice. Traps in a debug build; does nothing in a release
/// build.
void resumedTwice() noexcept;

template <typename Result>
class ContinuationState : public Job {
public:
    void finish(std::optional<Result> result, std::exception_ptr error) {
        result_ = std::move(result);
        error_ = std::move(error);
        // From here on the coroutine may run and destroy this state.
        DispatchQueue::global().async(*this);
    }

    void run() noexcept override { waiting_.resume(); }

protected:
    ContinuationState() = default;
    ~ContinuationState() = default;

    /// Returns the result or throws the error.
    Result take() {
        if (error_) {
            std::rethrow_exception(std::move(error_));
        }
        return *std::move(result_);
    }

    std::coroutine_handle<> waiting_;

private:
    std::optional<Result> result_;
    std::exception_ptr error_;
};

} // namespace detail

/// The right to resume one suspended coroutine, once, from any thread; it then runs on the global
/// queue. The holder must use it on every path: dropping it is a programming error.
template <typename Result>
class Continuation {
public:
    explicit Continuation(detail::ContinuationState<Result>& state) noexcept : state_{&state} {}
    Continuation(Continuation&& other) noexcept : state_{std::exchange(other.state_, nullptr)} {}
    Continuation(const Continuation&) = delete;
    Continuation& operator=(const Continuation&) = delete;
    Continuation& operator=(Continuation&&) = delete;
    ~Continuation() {
        if (state_ != nullptr) {
            state_->finish(std::nullopt, detail::droppedContinuation());
        }
    }

    void resume(Result result) { finish(std::move(result), nullptr); }
    void fail(std::exception_ptr error) { finish(std::nullopt, std::move(error)); }

private:
    void finish(std::optional<Result> result, std::exception_ptr error) {
        if (auto* state = std::exchange(state_, nullptr)) {
            state->finish(std::move(result), std::move(error));
        } else {
            detail::resumedTwice();
        }
    }

    detail::ContinuationState<Result>* state_;
};

/// `co_await withContinuation<Result>(body)` suspends, then calls `body` with the continuation, on
/// the same thread. Evaluates to the value that the continuation is resumed with, or throws the
/// exception that it fails with. `body` must not throw.
template <typename Result, typename Body>
auto withContinuation(Body body) {
    class Awaiter final : public detail::ContinuationState<Result> {
    public:
        explicit Awaiter(Body start) : body_{std::move(start)} {}
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        [[gnu::noinline]] void await_suspend(std::coroutine_handle<> waiting) noexcept {
            this->waiting_ = waiting;
            // Moved off the frame: the coroutine may resume, and end, while `body` still runs.
            Body body{std::move(body_)};
            body(Continuation<Result>{*this});
        }
        Result await_resume() { return this->take(); }

    private:
        Body body_;
    };
    return Awaiter{std::move(body)};
}

/// Runs a function that may block on a thread of its own, and evaluates to its result or throws its
/// exception: `co_await blocking([&] { return read(...); })`. Needs no memory, so once the awaiting
/// coroutine runs, the function will, too.
template <typename Function>
auto blocking(Function function) {
    using Result = std::invoke_result_t<Function&>;
    class Awaiter final : public detail::ContinuationState<Result> {
    public:
        explicit Awaiter(Function work) : work_{std::move(work)} {}
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        [[gnu::noinline]] void await_suspend(std::coroutine_handle<> waiting) noexcept {
            this->waiting_ = waiting;
            DispatchQueue::global().asyncBlocking(static_cast<Job&>(job_));
        }
        Result await_resume() { return this->take(); }

    private:
        class Blocking final : public Job {
        public:
            explicit Blocking(Awaiter& awaiter) : awaiter_{awaiter} {}
            void run() noexcept override { awaiter_.perform(); }

        private:
            Awaiter& awaiter_;
        };

        void perform() noexcept {
            std::optional<Result> result;
            std::exception_ptr error;
            try {
                result = work_();
            } catch (...) {
                error = std::current_exception();
            }
            // Outside the handler: this thread must not hold the exception, and perhaps destroy
            // it, while another reads it.
            this->finish(std::move(result), std::move(error));
        }

        Function work_;
        Blocking job_{*this};
    };
    return Awaiter{std::move(function)};
}

} // namespace MCPStdio
