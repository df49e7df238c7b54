#include "MCPStdio/concurrency/Continuation.hpp"

#include "MCPStdio/concurrency/SyncWait.hpp"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace MCPStdio;

namespace {

template <typename Body>
Task<int> waitFor(Body body) {
    auto waiting = withContinuation<int>(std::move(body));
    const int value = co_await waiting;
    co_return value;
}

} // namespace

TEST(Continuation, MayBeResumedBeforeTheBodyReturns) {
    EXPECT_EQ(syncWait(waitFor([](Continuation<int> waiting) { waiting.resume(5); })), 5);
}

TEST(Continuation, MayBeResumedLaterFromAnotherThread) {
    std::thread later;
    EXPECT_EQ(syncWait(waitFor([&](Continuation<int> waiting) {
                  later = std::thread{[waiting = std::move(waiting)]() mutable {
                      std::this_thread::sleep_for(std::chrono::milliseconds{5});
                      waiting.resume(6);
                  }};
              })),
              6);
    later.join();
}

TEST(Continuation, FailingThrowsInTheWaitingCoroutine) {
    EXPECT_THROW(syncWait(waitFor([](Continuation<int> waiting) {
                     waiting.fail(std::make_exception_ptr(std::runtime_error{"failed"}));
                 })),
                 std::runtime_error);
}

TEST(Continuation, TheCoroutineContinuesOnAWorkerNotOnTheResumingThread) {
    const auto run = []() -> Task<bool> {
        std::thread::id resumer;
        auto waiting = withContinuation<int>([&resumer](Continuation<int> continuation) {
            resumer = std::this_thread::get_id();
            continuation.resume(1);
        });
        co_await waiting;
        co_return resumer != std::this_thread::get_id();
    };
    EXPECT_TRUE(syncWait(run()));
}

TEST(ContinuationDeathTest, DroppingOneIsAnErrorThatReachesTheWaiter) {
#ifdef NDEBUG
    EXPECT_THROW(syncWait(waitFor([](Continuation<int>) {})), std::logic_error);
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(syncWait(waitFor([](Continuation<int>) {})), "dropped without being resumed");
#endif
}

TEST(ContinuationDeathTest, ResumingTwiceIsAnError) {
    const auto twice = [](Continuation<int> waiting) {
        waiting.resume(1);
        waiting.resume(2);
    };
#ifdef NDEBUG
    EXPECT_EQ(syncWait(waitFor(twice)), 1);
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(syncWait(waitFor(twice)), "resumed twice");
#endif
}

TEST(Blocking, PassesOnTheResultOrTheExceptionOfTheFunction) {
    const auto run = [](bool failing) -> Task<std::string> {
        auto call = blocking([&] {
            if (failing) {
                throw std::runtime_error{"failed"};
            }
            return std::string{"done"};
        });
        auto result = co_await call;
        co_return std::move(result);
    };
    EXPECT_EQ(syncWait(run(false)), "done");
    EXPECT_THROW(static_cast<void>(syncWait(run(true))), std::runtime_error);
}
