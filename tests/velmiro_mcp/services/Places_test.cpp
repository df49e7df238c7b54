#include "velmiro_mcp/services/Places.hpp"

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

Task<void> stay(Places& places, Seen& seen) {
    auto place = co_await places.enter();
    const int now = ++seen.inside;
    int most = seen.most;
    while (now > most && !seen.most.compare_exchange_weak(most, now)) {
    }
    co_await MCPStdio::DispatchQueue::global().hop();
    ++seen.all;
    --seen.inside;
}

Task<void> letIn(int count, Places& places, Seen& seen) {
    MCPStdio::TaskGroup group;
    for (int i = 0; i < count; ++i) {
        group.add(stay(places, seen));
    }
    co_await group.finish();
}

Task<bool> enterTwice(Places& places) {
    auto first = co_await places.enter();
    first.leave();
    first.leave(); // not a second place
    auto second = co_await places.enter();
    co_return true;
}

} // namespace

TEST(Places, AreGivenToAsManyAsThereAreAtATimeAndToAllInTheEnd) {
    Places places{3};
    Seen seen;
    MCPStdio::syncWait(letIn(1000, places, seen));
    EXPECT_EQ(seen.all, 1000);
    EXPECT_LE(seen.most, 3);
    EXPECT_EQ(seen.inside, 0);
}

TEST(Places, AreGivenBackOnceOnly) {
    Places places{1};
    EXPECT_TRUE(MCPStdio::syncWait(enterTwice(places)));
    EXPECT_TRUE(MCPStdio::syncWait(enterTwice(places)));
}
