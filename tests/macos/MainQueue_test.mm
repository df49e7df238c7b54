// The main thread receives notifications while the server runs on another.

#include "velmiro_mcp/ports/MainQueue.hpp"

#include "tests/macos/standin/StandIn.hpp"

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <thread>

using namespace velmiro;
using velmiro::test::StandIn;

namespace {

std::atomic<int> received{0};
std::atomic<bool> onMainThread{false};
pthread_t mainThread;

/// Waits until `received` is `count`. Returns false if that takes longer than a minute.
bool awaitReceived(int count) {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds{60};
    while (received < count && std::chrono::steady_clock::now() < latest) {
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
    return received == count;
}

} // namespace

@interface Receiver : NSObject
- (void)receive:(id)news;
- (void)receiveAndRaise:(id)news;
@end

@implementation Receiver
- (void)receive:(id)news {
    static_cast<void>(news);
    onMainThread = pthread_equal(pthread_self(), mainThread) != 0;
    ++received;
}
- (void)receiveAndRaise:(id)news {
    ++received;
    [NSException raise:@"Name" format:@"%@", news];
}
@end

namespace {

class MainQueueTest : public testing::Test {
protected:
    MainQueueTest() {
        received = 0;
        mainThread = pthread_self();
    }
    ~MainQueueTest() override { [receiver release]; }

    void send(SEL selector) {
        NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
        [receiver performSelectorOnMainThread:selector withObject:@"news" waitUntilDone:NO];
        [pool release];
    }

    Receiver* receiver = [[Receiver alloc] init];
};

} // namespace

TEST_F(MainQueueTest, TheMainThreadPerformsQueuedCallsWhileTheWorkRuns) {
    bool heard = false;
    runBesideMainQueue([&] {
        send(@selector(receive:));
        send(@selector(receive:));
        heard = awaitReceived(2);
    });
    EXPECT_TRUE(heard);
    EXPECT_TRUE(onMainThread);
}

TEST_F(MainQueueTest, TheWorkIsDoneOnAnotherThread) {
    bool onMain = true;
    runBesideMainQueue([&] { onMain = pthread_equal(pthread_self(), mainThread) != 0; });
    EXPECT_FALSE(onMain);
}

TEST_F(MainQueueTest, AnExceptionOnTheMainThreadEndsNothing) {
    bool heard = false;
    runBesideMainQueue([&] {
        send(@selector(receiveAndRaise:));
        send(@selector(receive:));
        heard = awaitReceived(2);
    });
    EXPECT_TRUE(heard);
}

TEST_F(MainQueueTest, EmptyWorkEndsImmediatelyManyTimes) {
    int count = 0;
    for (int round = 0; round < 200; ++round) {
        runBesideMainQueue([&] { ++count; });
    }
    EXPECT_EQ(count, 200);
}

TEST_F(MainQueueTest, FoundationIsToldOfThreadsBeforeThereIsOne) {
    StandIn& standIn = StandIn::shared();
    const std::string detach = "detachNewThreadSelector:toTarget:withObject:";
    standIn.reset();
    standIn.isMultiThreaded = false;
    int count = -1;
    runBesideMainQueue([&] { count = standIn.countOf(detach); });
    EXPECT_EQ(count, 1);
    runBesideMainQueue([] {});
    EXPECT_EQ(standIn.countOf(detach), 1); // it already knows
    standIn.reset();
    standIn.isMultiThreaded = false;
    standIn.raises[detach] = "no thread";
    count = -1;
    runBesideMainQueue([&] { count = 0; });
    EXPECT_EQ(count, 0); // the work is done all the same
    standIn.reset();
}

TEST_F(MainQueueTest, TheWorkHasTheStackOfAMainThread) {
    std::size_t size = 0;
    runBesideMainQueue([&] {
        pthread_attr_t attributes;
        ASSERT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
    });
    EXPECT_GE(size, 8UL << 20U);
}
