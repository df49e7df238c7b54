#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include "MCPStdio/concurrency/Continuation.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <latch>
#include <set>
#include <thread>

using namespace MCPStdio;
using namespace std::chrono_literals;

TEST(DispatchQueue, BlockingJobsAllRunConcurrently) {
    constexpr int count = 200;
    std::latch allArrived{count};
    const auto run = [&]() -> Task<> {
        TaskGroup group;
        const auto meet = [](std::latch& latch) -> Task<> {
            auto call = blocking([&latch] {
                latch.arrive_and_wait();
                return 0;
            });
            co_await call;
        };
        for (int i = 0; i < count; ++i) {
            group.add(meet(allArrived));
        }
        co_await group.finish();
    };
    syncWait(run());
}

TEST(DispatchQueue, AShortJobThatBlocksAfterAllDelaysNoOther) {
    constexpr int count = 20;
    std::latch allArrived{count};
    const auto run = [&]() -> Task<> {
        TaskGroup group;
        const auto meet = [](std::latch& latch) -> Task<> {
            co_await DispatchQueue::global().hop();
            latch.arrive_and_wait();
        };
        for (int i = 0; i < count; ++i) {
            group.add(meet(allArrived));
        }
        co_await group.finish();
    };
    syncWait(run());
}

TEST(DispatchQueue, ABurstOfShortJobsNeedsFewThreads) {
    constexpr int count = 20'000;
    std::atomic<int> done{0};
    Mutex mutex;
    std::set<std::thread::id> threads;
    const auto run = [&]() -> Task<> {
        TaskGroup group;
        const auto job = [&]() -> Task<> {
            co_await DispatchQueue::global().hop();
            {
                const MutexLock lock{mutex};
                threads.insert(std::this_thread::get_id());
            }
            ++done;
        };
        for (int i = 0; i < count; ++i) {
            group.add(job());
        }
        co_await group.finish();
    };
    syncWait(run());
    EXPECT_EQ(done, count);
    EXPECT_LT(threads.size(), 200U);
}

namespace {

std::atomic<int> endedThreads{0};

/// Counts the end of each thread that has touched its own.
struct ThreadEnd {
    bool touched = false;
    ~ThreadEnd() { endedThreads += touched ? 1 : 0; }
};
thread_local ThreadEnd threadEnd;

} // namespace

// Woken in turn, each of many threads would find work again before its idle time is over.
TEST(DispatchQueue, IdleThreadsEndWhileShortJobsTrickleIn) {
    constexpr int crowd = 100;
    endedThreads = 0;
    std::latch allArrived{crowd};
    const auto gather = [&]() -> Task<> {
        TaskGroup group;
        const auto meet = [](std::latch& latch) -> Task<> {
            auto call = blocking([&latch] {
                threadEnd.touched = true;
                latch.arrive_and_wait();
                return 0;
            });
            co_await call;
        };
        for (int i = 0; i < crowd; ++i) {
            group.add(meet(allArrived));
        }
        co_await group.finish();
    };
    syncWait(gather());

    const auto hop = []() -> Task<> { co_await DispatchQueue::global().hop(); };
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (endedThreads < crowd - 10 && std::chrono::steady_clock::now() < deadline) {
        syncWait(hop());
    }
    EXPECT_GE(endedThreads, crowd - 10);
}

TEST(DispatchQueue, ManyThreadsMayQueueJobsConcurrently) {
    std::atomic<int> done{0};
    const auto hops = [&]() -> Task<> {
        for (int i = 0; i < 2'000; ++i) {
            co_await DispatchQueue::global().hop();
            ++done;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { syncWait(hops()); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(done, 16'000);
}
