#include "MCPStdio/concurrency/Backlog.hpp"

#include <chrono>

namespace MCPStdio {
namespace {

constexpr std::size_t lowWaterMark = Backlog::highWaterMark / 2;

/// The longest wait between two looks. No shorter than the system's tick: programming a finer timer
/// costs more than the wait saves.
constexpr auto moment = std::chrono::milliseconds{10};

} // namespace

void Backlog::release() noexcept {
    // Releases the `enter` that came before: no thread sees more entries leave than have entered.
    left_.fetch_add(1, std::memory_order_release);
    if (size() == lowWaterMark) {
        const MutexLock lock{mutex_};
        room_.notifyAll();
    }
}

void Backlog::waitForRoom() {
    const MutexLock lock{mutex_};
    while (size() > lowWaterMark) {
        const std::size_t left = left_.load(std::memory_order_relaxed);
        if (left - leftAtWait_ < lowWaterMark) {
            return; // consumers are slow; do not wait for them
        }
        leftAtWait_ = left;
        room_.waitUntil(mutex_, std::chrono::steady_clock::now() + moment);
    }
}

} // namespace MCPStdio
