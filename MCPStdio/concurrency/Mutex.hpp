#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// Clang proves at compile time that members marked GUARDED_BY a mutex are only accessed while that
// mutex is held; other compilers ignore the marks. All of them have a prefix, as macros reach into
// the code of whoever includes this.
#if defined(__clang__)
#define MCPSTDIO_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define MCPSTDIO_THREAD_ANNOTATION(x)
#endif
#define MCPSTDIO_CAPABILITY(x) MCPSTDIO_THREAD_ANNOTATION(capability(x))
#define MCPSTDIO_SCOPED_CAPABILITY MCPSTDIO_THREAD_ANNOTATION(scoped_lockable)
#define MCPSTDIO_GUARDED_BY(x) MCPSTDIO_THREAD_ANNOTATION(guarded_by(x))
#define MCPSTDIO_REQUIRES(...) MCPSTDIO_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define MCPSTDIO_ACQUIRE(...) MCPSTDIO_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define MCPSTDIO_RELEASE(...) MCPSTDIO_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

namespace MCPStdio {

/// `std::mutex`, annotated for clang's thread-safety analysis. Never held across a `co_await` or
/// while a coroutine is resumed.
class MCPSTDIO_CAPABILITY("mutex") Mutex {
public:
    void lock() MCPSTDIO_ACQUIRE() { mutex_.lock(); }
    void unlock() MCPSTDIO_RELEASE() { mutex_.unlock(); }

private:
    friend class Condition;
    std::mutex mutex_;
};

/// Holds a mutex for a scope.
class MCPSTDIO_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) MCPSTDIO_ACQUIRE(mutex) : mutex_{mutex} { mutex_.lock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;
    ~MutexLock() MCPSTDIO_RELEASE() { mutex_.unlock(); }

private:
    Mutex& mutex_;
};

/// A condition variable. Waiting releases the mutex and acquires it again before it returns; it may
/// wake spuriously.
class Condition {
public:
    void wait(Mutex& mutex) MCPSTDIO_REQUIRES(mutex) {
        std::unique_lock lock{mutex.mutex_, std::adopt_lock};
        condition_.wait(lock);
        lock.release();
    }
    void waitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline)
        MCPSTDIO_REQUIRES(mutex) {
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
