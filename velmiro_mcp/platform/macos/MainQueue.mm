#include "velmiro_mcp/ports/MainQueue.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <pthread.h>

// Frameworks receive notifications on the main thread: its run loop takes messages from other
// processes and runs the main queue. Without it, a long-lived event store goes stale.

/// The target of the main thread's run loop: of a timer that does nothing, because a run loop
/// without a source returns immediately; and of the final message that the loop may end.
@interface VelmiroMainThread : NSObject {
@public
    BOOL mayEnd;
}
- (void)stay:(NSTimer*)timer;
- (void)end;
@end

@implementation VelmiroMainThread
- (void)stay:(NSTimer*)timer {
    static_cast<void>(timer);
}
- (void)end {
    mayEnd = YES;
}
@end

namespace velmiro {
namespace {

using namespace macos;

struct Beside {
    const std::function<void()>& work;
    const Owned<VelmiroMainThread>& mainThread;
};

void* doWork(void* given) noexcept {
    const auto& beside = *static_cast<const Beside*>(given);
    beside.work();
    attempt([&](Problem&) {
        [beside.mainThread.get() performSelectorOnMainThread:@selector(end)
                                                  withObject:nil
                                               waitUntilDone:NO];
    });
    return nullptr;
}

/// Our threads are plain pthreads, of which Cocoa does not know. It uses its own locks only after a
/// thread was created by its own means, so one is created, which ends immediately.
void announceThreads(VelmiroMainThread* mainThread) {
    attempt([&](Problem&) {
        if (![NSThread isMultiThreaded]) {
            [NSThread detachNewThreadSelector:@selector(stay:) toTarget:mainThread withObject:nil];
        }
    });
}

/// Starts the worker thread. Returns nullopt if the system cannot create one.
std::optional<pthread_t> start(Beside& beside) {
    constexpr std::size_t asTheMainThreadHas = 8UL << 20U;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, asTheMainThreadHas);
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, doWork, &beside);
    pthread_attr_destroy(&attributes);
    return error == 0 ? std::optional{thread} : std::nullopt;
}

void serviceUntilEnd(VelmiroMainThread* mainThread) {
    while (!mainThread->mayEnd) {
        attempt([](Problem&) { // nobody waits to hear of an exception here
            [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                     beforeDate:[NSDate distantFuture]];
        });
    }
}

} // namespace

void runBesideMainQueue(const std::function<void()>& work) {
    constexpr NSTimeInterval aDay = 86'400;
    const Owned<VelmiroMainThread> mainThread{[[VelmiroMainThread alloc] init]};
    announceThreads(mainThread.get());
    Owned<NSTimer> timer;
    attempt([&](Problem&) {
        NSDate* const tomorrow = [NSDate dateWithTimeIntervalSinceNow:aDay];
        timer = Owned {
            [[NSTimer alloc] initWithFireDate:tomorrow
                                     interval:aDay
                                       target:mainThread.get()
                                     selector:@selector(stay:)
                                     userInfo:nil
                                      repeats:YES]
        };
        [[NSRunLoop currentRunLoop] addTimer:timer.get() forMode:NSDefaultRunLoopMode];
    });
    Beside beside{work, mainThread};
    if (const auto worker = start(beside)) {
        serviceUntilEnd(mainThread.get());
        pthread_join(*worker, nullptr);
    } else {
        work(); // all that is lost are notifications
    }
    attempt([&](Problem&) { [timer.get() invalidate]; });
}

} // namespace velmiro
