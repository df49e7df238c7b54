#include "MCPStdio/concurrency/TaskGroup.hpp"

#include "MCPStdio/concurrency/Patience.hpp"

#include <utility>

namespace MCPStdio {

void TaskGroup::add(Task<void> child) noexcept {
    patiently([&] { runChild(child); }); // if its frame does not fit, it has not begun
}

/// Takes the child over before its first suspension, while the reference is valid.
detail::Detached TaskGroup::runChild(Task<void>& child) {
    running_.fetch_add(1, std::memory_order_relaxed);
    {
        // Its frame must be destroyed before the group may be.
        Task<void> owned{std::move(child)};
        co_await std::move(owned);
    }
    if (leave()) {
        waiting_.resume();
    }
}

bool TaskGroup::leave() noexcept {
    // Releases this child's writes, and acquires those of all others for the waiting coroutine.
    return running_.fetch_sub(1, std::memory_order_acq_rel) == 1;
}

} // namespace MCPStdio
