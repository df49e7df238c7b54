#include "MCPStdio/concurrency/Actor.hpp"

#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace MCPStdio;

namespace {

Task<> enterAndRecord(Actor& actor, int name, std::vector<int>& order) {
    const auto turn = co_await actor.enter();
    order.push_back(name);
}

} // namespace

TEST(Actor, AnIdleActorIsEnteredImmediatelyOnTheSameThread) {
    Actor actor;
    std::vector<int> order;
    TaskGroup group;
    group.add(enterAndRecord(actor, 1, order));
    group.add(enterAndRecord(actor, 2, order));
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(Actor, WaitersTakeTurnsInTheOrderOfArrival) {
    Actor actor;
    std::vector<int> order;
    const auto run = [&]() -> Task<> {
        TaskGroup group;
        auto turn = co_await actor.enter();
        for (int i = 0; i < 100; ++i) {
            group.add(enterAndRecord(actor, i, order));
        }
        EXPECT_TRUE(order.empty());
        turn.release();
        co_await group.finish();
    };
    syncWait(run());
    std::vector<int> expected(100);
    for (int i = 0; i < 100; ++i) {
        expected[static_cast<std::size_t>(i)] = i;
    }
    EXPECT_EQ(order, expected);
}

TEST(Actor, ATurnMayBeReleasedAndTakenAgain) {
    Actor actor;
    const auto run = [&]() -> Task<> {
        auto turn = co_await actor.enter();
        turn.release();
        turn.release();
        auto next = co_await actor.enter();
        turn = std::move(next);
    };
    syncWait(run());
    syncWait(run()); // the first one left it idle
}

TEST(Actor, TurnsOfManyThreadsNeverOverlap) {
    Actor actor;
    long unguarded = 0; // the thread sanitizer would report a race on this
    std::atomic<int> inside{0};
    const auto work = [&]() -> Task<> {
        for (int i = 0; i < 2'000; ++i) {
            const auto turn = co_await actor.enter();
            EXPECT_EQ(inside.fetch_add(1), 0);
            ++unguarded;
            inside.fetch_sub(1);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { syncWait(work()); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(unguarded, 16'000);
}
