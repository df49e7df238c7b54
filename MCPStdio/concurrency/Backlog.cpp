#include "MCPStdio/concurrency/Backlog.hpp"

#include <chrono>

namespace MCPStdio {
namespace {

/// How long is waited. No shorter than the system's own tick: a timer of its own costs more than
/// what is waited for.
constexpr auto moment = std::chrono::milliseconds{10};

} // namespace

void Backlog::leave() noexcept {
    // Releases the entering that came before: nobody sees more leave than have entered.
    left_.fetch_add(1, std::memory_order_release);
    if (size() == veryMany / 2) {
        const MutexLock lock{mutex_};
        fewer_.notifyAll();
    }
}

void Backlog::waitForFewer() {
    const MutexLock lock{mutex_};
    while (size() > veryMany / 2) {
        const std::size_t left = left_.load(std::memory_order_relaxed);
        if (left - leftAtWait_ < veryMany / 2) {
            return; // that would take long
        }
        leftAtWait_ = left;
        fewer_.waitUntil(mutex_, std::chrono::steady_clock::now() + moment);
    }
}

} // namespace MCPStdio
