#include "velmiro_mcp/services/Places.hpp"

namespace velmiro {

/// False when a place was free and is taken. Otherwise the waiter may run, and be gone, as soon as
/// the lock is.
[[gnu::noinline]] bool Places::waitInLine(MCPStdio::Job& waiter) noexcept {
    const MCPStdio::MutexLock lock{mutex_};
    if (free_ > 0) {
        --free_;
        return false;
    }
    line_.push(waiter);
    return true;
}

/// A place passes on to the next in line without being free in between.
void Places::leave() noexcept {
    const MCPStdio::MutexLock lock{mutex_};
    if (line_.empty()) {
        ++free_;
    } else {
        MCPStdio::DispatchQueue::global().async(line_.pop());
    }
}

} // namespace velmiro
