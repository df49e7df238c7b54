#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// clang proves at compile time that what is marked GUARDED_BY a mutex is touched only while that
// mutex is held; other compilers see nothing of it.
#if defined(__clang__)
#define MCPSTDIO_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define MCPSTDIO_THREAD_ANNOTATION(x)
#endif
#define CAPABILITY(x) MCPSTDIO_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY MCPSTDIO_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(x) MCPSTDIO_THREAD_ANNOTATION(guarded_by(x))
#define REQUIRES(...) MCPSTDIO_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) MCPSTDIO_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) MCPSTDIO_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace MCPStdio {

/// The standard mutex and condition variable, marked for clang's analysis. Never held across a
/// `co_await`, and no coroutine is resumed under it.
class CAPABILITY("mutex") Mutex {
public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

private:
    friend class Condition;
    std::mutex mutex_;
};

class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mutex_{mutex} { mutex_.lock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() RELEASE() { mutex_.unlock(); }

private:
    Mutex& mutex_;
};

/// Waiting gives the mutex up and takes it again before it returns. It may return without a reason.
class Condition {
public:
    void wait(Mutex& mutex) REQUIRES(mutex) {
        std::unique_lock lock{mutex.mutex_, std::adopt_lock};
        condition_.wait(lock);
        lock.release();
    }
    void waitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline) REQUIRES(mutex) {
        std::unique_lock lock{mutex.mutex_, std::adopt_lock};
        condition_.wait_until(lock, deadline);
        lock.release();
    }
    void notifyOne() noexcept { condition_.notify_one(); }
    void notifyAll() noexcept { condition_.notify_all(); }

private:
    std::condition_variable condition_;
};

} // namespace MCPStdio
