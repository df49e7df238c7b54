#include "velmiro_mcp/ports/MainQueue.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <pthread.h>

// Frameworks hear of the world on the main thread: the run loop there takes what other processes
// report and what is put on the main queue. An event store that lives long goes stale without it.

/// What the run loop of the main thread is given to do: nothing, so that it does not end for lack
/// of anything to wait for; and at last to note that it may.
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

/// Our threads are plain ones, of which Cocoa does not know. It takes its own locks only once a
/// thread was made by its own means, so one is, and ends at once.
void announceThreads(VelmiroMainThread* mainThread) {
    attempt([&](Problem&) {
        if (![NSThread isMultiThreaded]) {
            [NSThread detachNewThreadSelector:@selector(stay:) toTarget:mainThread withObject:nil];
        }
    });
}

/// Nothing when the system has no thread to give.
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
        attempt([](Problem&) { // of what is raised here nobody waits for the reason
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
        work(); // news of other programs are what is lost
    }
    attempt([&](Problem&) { [timer.get() invalidate]; });
}

} // namespace velmiro
