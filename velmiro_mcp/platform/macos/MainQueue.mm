#include "velmiro_mcp/ports/MainQueue.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <pthread.h>

// Frameworks receive notifications on the main thread: its run loop takes messages from other
// processes and runs the main queue. Without it, a long-lived event store goes stale.

/// The target of the main thread's run loop: of a timer that does nothing, because a run loop
/// without a source returns immediately; and of the final message that the loop may end.
@interface VelmiroRunLoopTarget : NSObject {
@public
    BOOL isStopped;
}
- (void)keepAlive:(NSTimer*)timer;
- (void)stop;
@end

@implementation VelmiroRunLoopTarget
- (void)keepAlive:(NSTimer*)timer {
    static_cast<void>(timer);
}
- (void)stop {
    isStopped = YES;
}
@end

namespace velmiro {
namespace {

using namespace macos;

struct Worker {
    const std::function<void()>& work;
    const Owned<VelmiroRunLoopTarget>& target;
};

void* runWorker(void* argument) noexcept {
    const auto& worker = *static_cast<const Worker*>(argument);
    worker.work();
    attempt([&](Problem&) {
        [worker.target.get() performSelectorOnMainThread:@selector(stop)
                                              withObject:nil
                                           waitUntilDone:NO];
    });
    return nullptr;
}

/// Our threads are plain pthreads, of which Cocoa does not know. It uses its own locks only after a
/// thread was created by its own means, so one is created, which ends immediately.
void enterMultithreadedMode(VelmiroRunLoopTarget* target) {
    attempt([&](Problem&) {
        if (![NSThread isMultiThreaded]) {
            [NSThread detachNewThreadSelector:@selector(keepAlive:) toTarget:target withObject:nil];
        }
    });
}

/// Starts the worker thread. Returns nullopt if the system cannot create one.
std::optional<pthread_t> startThread(Worker& worker) {
    constexpr std::size_t mainThreadStackSize = 8UL << 20U;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, mainThreadStackSize);
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, runWorker, &worker);
    pthread_attr_destroy(&attributes);
    return error == 0 ? std::optional{thread} : std::nullopt;
}

void runLoopUntilStopped(VelmiroRunLoopTarget* target) {
    while (!target->isStopped) {
        attempt([](Problem&) { // nobody waits to hear of an exception here
            [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                     beforeDate:[NSDate distantFuture]];
        });
    }
}

} // namespace

void runBesideMainQueue(const std::function<void()>& work) {
    constexpr NSTimeInterval aDay = 86'400;
    const Owned<VelmiroRunLoopTarget> target{[[VelmiroRunLoopTarget alloc] init]};
    enterMultithreadedMode(target.get());
    Owned<NSTimer> timer;
    attempt([&](Problem&) {
        NSDate* const tomorrow = [NSDate dateWithTimeIntervalSinceNow:aDay];
        timer = Owned {
            [[NSTimer alloc] initWithFireDate:tomorrow
                                     interval:aDay
                                       target:target.get()
                                     selector:@selector(keepAlive:)
                                     userInfo:nil
                                      repeats:YES]
        };
        [[NSRunLoop currentRunLoop] addTimer:timer.get() forMode:NSDefaultRunLoopMode];
    });
    Worker worker{work, target};
    if (const auto thread = startThread(worker)) {
        runLoopUntilStopped(target.get());
        pthread_join(*thread, nullptr);
    } else {
        work(); // all that is lost are notifications
    }
    attempt([&](Problem&) { [timer.get() invalidate]; });
}

} // namespace velmiro
