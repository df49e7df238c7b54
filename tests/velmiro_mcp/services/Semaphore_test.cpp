#include "velmiro_mcp/services/Semaphore.hpp"

#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using MCPStdio::Task;

namespace {

struct Seen {
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::atomic<int> all{0};
};

Task<void> stay(Semaphore& semaphore, Seen& seen) {
    auto permit = co_await semaphore.acquire();
    const int now = ++seen.inside;
    int most = seen.most;
    while (now > most && !seen.most.compare_exchange_weak(most, now)) {
    }
    co_await MCPStdio::DispatchQueue::global().hop();
    ++seen.all;
    --seen.inside;
}

Task<void> letIn(int count, Semaphore& semaphore, Seen& seen) {
    MCPStdio::TaskGroup group;
    for (int i = 0; i < count; ++i) {
        group.add(stay(semaphore, seen));
    }
    co_await group.finish();
}

Task<bool> acquireTwice(Semaphore& semaphore) {
    auto first = co_await semaphore.acquire();
    first.release();
    first.release(); // not a second permit
    auto second = co_await semaphore.acquire();
    co_return true;
}

} // namespace

TEST(Semaphore, AdmitsAsManyAsItHasPermitsAndEverybodyInTheEnd) {
    Semaphore semaphore{3};
    for (int round = 0; round < 3; ++round) { // the permits are free again in between
        Seen seen;
        MCPStdio::syncWait(letIn(1000, semaphore, seen));
        EXPECT_EQ(seen.all, 1000);
        EXPECT_LE(seen.most, 3);
        EXPECT_EQ(seen.inside, 0);
    }
}

TEST(Semaphore, TakesAPermitBackOnlyOnce) {
    Semaphore semaphore{1};
    EXPECT_TRUE(MCPStdio::syncWait(acquireTwice(semaphore)));
    EXPECT_TRUE(MCPStdio::syncWait(acquireTwice(semaphore)));
}
