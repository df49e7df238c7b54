#include "velmiro_mcp/services/Semaphore.hpp"

namespace velmiro {

/// Returns false if a permit was free and is taken. Otherwise the waiter may be resumed, and
/// destroyed, as soon as the lock is released.
[[gnu::noinline]] bool Semaphore::enqueue(MCPStdio::Job& waiter) noexcept {
    const MCPStdio::MutexLock lock{mutex_};
    if (free_ > 0) {
        --free_;
        return false;
    }
    waiters_.push(waiter);
    return true;
}

/// A permit passes to the next waiter without being free in between.
void Semaphore::release() noexcept {
    const MCPStdio::MutexLock lock{mutex_};
    if (waiters_.empty()) {
        ++free_;
    } else {
        MCPStdio::DispatchQueue::global().async(waiters_.pop());
    }
}

} // namespace velmiro
