#include "MCPStdio/concurrency/Task.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

using namespace MCPStdio;

namespace {

/// Counts its living instances.
struct Counted {
    static inline int alive = 0;
    Counted() { ++alive; }
    Counted(const Counted&) { ++alive; }
    Counted(Counted&&) noexcept { ++alive; }
    Counted& operator=(const Counted&) = default;
    Counted& operator=(Counted&&) = default;
    ~Counted() { --alive; }
};

Task<int> returnValue(int value) {
    co_return value;
}

Task<int> fail() {
    throw std::runtime_error{"failed"};
    co_return 0;
}

Task<> record(bool& ran) {
    ran = true;
    co_return;
}

} // namespace

TEST(Task, StartsOnlyWhenItIsAwaited) {
    bool ran = false;
    {
        const Task<> never = record(ran);
    }
    EXPECT_FALSE(ran);
    syncWait(record(ran));
    EXPECT_TRUE(ran);
}

TEST(Task, PassesOnItsResultOrItsException) {
    EXPECT_EQ(syncWait(returnValue(5)), 5);
    EXPECT_THROW(syncWait(fail()), std::runtime_error);
}

TEST(Task, AnExceptionPropagatesThroughEveryAwaiter) {
    const auto outer = []() -> Task<int> {
        auto inner = fail();
        const int value = co_await std::move(inner);
        co_return value;
    };
    EXPECT_THROW(syncWait(outer()), std::runtime_error);
}

TEST(Task, ResultsMayBeMoveOnly) {
    const auto make = []() -> Task<std::unique_ptr<int>> { co_return std::make_unique<int>(7); };
    EXPECT_EQ(*syncWait(make()), 7);
}

TEST(Task, AMillionChildrenInALoopNeedNoStack) {
    const auto sum = []() -> Task<long> {
        long total = 0;
        for (int i = 0; i < 1'000'000; ++i) {
            auto child = returnValue(1);
            const int value = co_await std::move(child);
            total += value;
        }
        co_return total;
    };
    EXPECT_EQ(syncWait(sum()), 1'000'000);
}

TEST(Task, ManyChildrenThatEndOnOtherThreadsNeedNoStackEither) {
    const auto hop = []() -> Task<> { co_await DispatchQueue::global().hop(); };
    const auto loop = [&]() -> Task<int> {
        int count = 0;
        for (; count < 20'000; ++count) {
            auto child = hop();
            co_await std::move(child);
        }
        co_return count;
    };
    EXPECT_EQ(syncWait(loop()), 20'000);
}

TEST(Task, FramesAreDestroyedWhetherTheyRanFailedOrWereNeverAwaited) {
    const auto hold = [](Counted, bool failing) -> Task<Counted> {
        if (failing) {
            throw std::runtime_error{"failed"};
        }
        co_return Counted{};
    };
    {
        const auto never = hold(Counted{}, false);
        EXPECT_EQ(Counted::alive, 1);
    }
    EXPECT_EQ(Counted::alive, 0);
    static_cast<void>(syncWait(hold(Counted{}, false)));
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_THROW(static_cast<void>(syncWait(hold(Counted{}, true))), std::runtime_error);
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Task, ContinuesOnItsOwnThreadOrTheOneOnWhichItsChildEnded) {
    const auto child = []() -> Task<std::thread::id> {
        co_await DispatchQueue::global().hop();
        co_return std::this_thread::get_id();
    };
    const auto parent = [&]() -> Task<bool> {
        const auto before = std::this_thread::get_id();
        auto awaited = child();
        const auto childThread = co_await std::move(awaited);
        const auto after = std::this_thread::get_id();
        co_return childThread != before && (after == before || after == childThread);
    };
    for (int i = 0; i < 1'000; ++i) {
        ASSERT_TRUE(syncWait(parent()));
    }
}
