#include "MCPStdio/concurrency/TaskGroup.hpp"

namespace MCPStdio {

detail::Detached TaskGroup::runChild(Task<void> child) {
    running_.fetch_add(1, std::memory_order_relaxed);
    {
        // Its frame goes before the group may.
        Task<void> owned{std::move(child)};
        co_await std::move(owned);
    }
    if (leave()) {
        waiting_.resume();
    }
}

bool TaskGroup::leave() noexcept {
    // Releases what a child did, and acquires what all others did, for whoever waits.
    return running_.fetch_sub(1, std::memory_order_acq_rel) == 1;
}

} // namespace MCPStdio
