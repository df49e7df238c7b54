#include "MCPStdio/concurrency/TaskGroup.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"

#include <atomic>
#include <gtest/gtest.h>

using namespace MCPStdio;

namespace {

Task<> countLater(std::atomic<int>& count) {
    co_await DispatchQueue::global().hop();
    ++count;
}

Task<> countNow(std::atomic<int>& count) {
    ++count;
    co_return;
}

} // namespace

TEST(TaskGroup, AChildStartsImmediately) {
    std::atomic<int> count{0};
    TaskGroup group;
    group.add(countNow(count));
    EXPECT_EQ(count, 1);
}

TEST(TaskGroup, FinishWaitsForEveryChild) {
    std::atomic<int> count{0};
    const auto run = [&]() -> Task<> {
        TaskGroup group;
        for (int i = 0; i < 1'000; ++i) {
            group.add(i % 2 == 0 ? countLater(count) : countNow(count));
        }
        co_await group.finish();
        EXPECT_EQ(count, 1'000);
    };
    syncWait(run());
}

TEST(TaskGroup, AGroupWithoutChildrenFinishesImmediately) {
    const auto run = []() -> Task<> {
        TaskGroup group;
        co_await group.finish();
    };
    syncWait(run());
}

TEST(TaskGroup, FinishMayRaceWithTheLastChild) {
    for (int round = 0; round < 2'000; ++round) {
        std::atomic<int> count{0};
        const auto run = [&]() -> Task<> {
            TaskGroup group;
            group.add(countLater(count));
            co_await group.finish();
            EXPECT_EQ(count, 1);
        };
        syncWait(run());
    }
}
