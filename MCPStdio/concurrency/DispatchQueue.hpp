#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"

#include <coroutine>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace MCPStdio {

/// Something to run once, on another thread. Whoever queues a job keeps it alive until it runs;
/// running it may destroy it.
class Job {
public:
    Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    virtual void run() noexcept = 0;

    Job* next = nullptr; ///< belongs to the list that holds this job

protected:
    ~Job() = default;
};

/// Jobs in the order in which they came, linked through themselves.
class JobList {
public:
    [[nodiscard]] bool empty() const noexcept { return first_ == nullptr; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    void push(Job& job) noexcept;
    Job& pop() noexcept;

private:
    Job* first_ = nullptr;
    Job* last_ = nullptr;
    std::size_t size_ = 0;
};

/// The threads that all work runs on; there is one queue in a process, and it is never destroyed.
///
/// Threads come as they are needed and leave when they have been idle for a while. There are two
/// kinds of work, because they are in need of different things:
///  - A job that says that it blocks (a socket exchange, a child process) gets a thread to itself
///  at
///    once. A thousand of them are a thousand threads, which sleep.
///  - All other jobs are short and follow one another on one thread, so that a burst of them wakes
///    one thread and not one each. A watcher looks on: when none of them has been begun for a
///    millisecond although some wait, the running one blocks after all, and a further thread joins.
/// Where the system gives no more threads, work waits for one that exists; one of them is always
/// kept for short jobs.
class DispatchQueue {
public:
    static DispatchQueue& global();

    DispatchQueue() = default;
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    void async(Job& job);
    void asyncBlocking(Job& job);

    /// Runs a function object that blocks. It must not throw.
    template <typename Function>
    void asyncBlocking(Function function) {
        class Owned final : public Job {
        public:
            explicit Owned(Function work) : work_{std::move(work)} {}
            void run() noexcept override {
                Function work{std::move(work_)};
                delete this;
                work();
            }

        private:
            Function work_;
        };
        asyncBlocking(static_cast<Job&>(*new Owned{std::move(function)}));
    }

    /// `co_await queue.hop()` goes on as a short job of this queue.
    auto hop() noexcept {
        class Hop final : public Job {
        public:
            explicit Hop(DispatchQueue& queue) : queue_{queue} {}
            [[nodiscard]] bool await_ready() const noexcept { return false; }
            [[gnu::noinline]] void await_suspend(std::coroutine_handle<> waiting) {
                waiting_ = waiting;
                queue_.async(*this);
            }
            void await_resume() const noexcept {}
            void run() noexcept override { waiting_.resume(); }

        private:
            DispatchQueue& queue_;
            std::coroutine_handle<> waiting_;
        };
        return Hop{*this};
    }

private:
    void needThread() MCPSTDIO_REQUIRES(mutex_);
    bool startThread() MCPSTDIO_REQUIRES(mutex_);
    void work() noexcept;
    bool waitForWork() MCPSTDIO_REQUIRES(mutex_);
    void runShortJobs() MCPSTDIO_REQUIRES(mutex_);
    bool watch() MCPSTDIO_REQUIRES(mutex_);
    void runUnlocked(Job& job) MCPSTDIO_REQUIRES(mutex_);
    [[nodiscard]] bool hasRole() const MCPSTDIO_REQUIRES(mutex_);
    [[nodiscard]] bool mayBlock() const MCPSTDIO_REQUIRES(mutex_);

    Mutex mutex_;
    Condition wake_;
    Condition nap_; ///< what the watcher waits on; nobody notifies it
    JobList short_ MCPSTDIO_GUARDED_BY(mutex_);
    JobList blocking_ MCPSTDIO_GUARDED_BY(mutex_);
    /// Roles that no thread has taken up yet; each job of `blocking_` is one more.
    std::size_t openRunners_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    std::size_t openWatchers_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    std::size_t
        runners_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< threads that run short jobs, or soon will
    bool watched_ MCPSTDIO_GUARDED_BY(mutex_) = false;    ///< a thread watches them, or soon will
    std::uint64_t begun_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< short jobs, ever
    std::size_t threads_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    std::size_t blocked_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< of these run a job that blocks
    std::size_t idle_ MCPSTDIO_GUARDED_BY(mutex_) = 0;    ///< threads waiting for a role
    std::size_t
        starting_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< threads made that have not come to life yet
};

} // namespace MCPStdio
