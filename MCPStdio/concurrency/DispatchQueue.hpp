#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"

#include <coroutine>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace MCPStdio {

/// A piece of work to run once, on another thread. Its owner keeps it alive until it runs; running
/// it may destroy it.
class Job {
public:
    Job() = default;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    virtual void run() noexcept = 0;

    Job* next = nullptr; ///< used by the list that holds this job

protected:
    ~Job() = default;
};

/// An intrusive queue of jobs, first in, first out.
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

/// The process's thread pool. There is one, and it is never destroyed.
///
/// Threads are started on demand and end after being idle for a while. The last to become idle is
/// woken first. There are two kinds of jobs:
///
/// Blocking jobs are declared as such by their callers: a socket exchange, a child process. Each
/// runs immediately, on a thread of its own; a thousand of them are a thousand sleeping threads.
///
/// Short jobs run one after another on one thread, so that a burst of them wakes one thread and not
/// one each. A watcher looks on: if no waiting job has started for a millisecond, the running one
/// blocks after all, and another thread joins.
///
/// If the system cannot start more threads, jobs wait for an existing one. One thread is always
/// reserved for short jobs.
class DispatchQueue {
public:
    static DispatchQueue& global();

    DispatchQueue() = default;
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    /// Queues a short job.
    void async(Job& job);

    /// Queues a blocking job.
    void asyncBlocking(Job& job);

    /// Runs a function object as a blocking job. It must not throw.
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

    /// `co_await queue.hop()` continues the coroutine as a short job of this queue.
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
    struct Worker;

    void needThread() MCPSTDIO_REQUIRES(mutex_);
    bool startThread() MCPSTDIO_REQUIRES(mutex_);
    void work(Worker& self) noexcept;
    bool waitForWork(Worker& self) MCPSTDIO_REQUIRES(mutex_);
    void fallAsleep(Worker& worker) MCPSTDIO_REQUIRES(mutex_);
    void leaveSleepers(Worker& worker) MCPSTDIO_REQUIRES(mutex_);
    Worker* callSleeper() MCPSTDIO_REQUIRES(mutex_);
    static void wake(Worker* worker) noexcept;
    void runShortJobs() MCPSTDIO_REQUIRES(mutex_);
    bool watch() MCPSTDIO_REQUIRES(mutex_);
    void runUnlocked(Job& job) MCPSTDIO_REQUIRES(mutex_);
    [[nodiscard]] bool hasRole() const MCPSTDIO_REQUIRES(mutex_);
    [[nodiscard]] bool mayBlock() const MCPSTDIO_REQUIRES(mutex_);

    Mutex mutex_;
    Worker* sleepers_ MCPSTDIO_GUARDED_BY(mutex_) = nullptr; ///< a list, the last to sleep first
    Worker* spare_ MCPSTDIO_GUARDED_BY(mutex_) = nullptr;    ///< a list of those without a thread
    Condition nap_; ///< the watcher sleeps on it; never notified
    JobList short_ MCPSTDIO_GUARDED_BY(mutex_);
    JobList blocking_ MCPSTDIO_GUARDED_BY(mutex_);
    /// Roles that no thread has taken yet; each job in `blocking_` is one more.
    std::size_t openRunners_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    std::size_t openWatchers_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    std::size_t runners_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< threads running short jobs
    bool watched_ MCPSTDIO_GUARDED_BY(mutex_) = false;    ///< a thread watches them, or is about to
    std::uint64_t begun_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< short jobs started so far
    std::size_t threads_ MCPSTDIO_GUARDED_BY(mutex_) = 0;
    std::size_t blocked_ MCPSTDIO_GUARDED_BY(mutex_) = 0;  ///< of these, running a blocking job
    std::size_t idle_ MCPSTDIO_GUARDED_BY(mutex_) = 0;     ///< threads waiting for a role
    std::size_t starting_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< threads created that do not run yet
};

} // namespace MCPStdio
