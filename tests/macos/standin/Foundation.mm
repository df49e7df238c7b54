#include "tests/macos/standin/Objects.hpp"

#include <cstdlib>

// Where GNUstep's Foundation answers otherwise than Apple's, or would answer for the machine and
// not for the test.

#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation" // replacing is the purpose

namespace {

NSTimeZone* cachedZone = nil;

} // namespace

/// Apple's system time zone is what TZ names, and is remembered until it is reset.
@implementation NSTimeZone (AsApples)
+ (void)resetSystemTimeZone {
    [cachedZone release];
    cachedZone = nil;
}
+ (NSTimeZone*)systemTimeZone {
    if (cachedZone == nil) {
        const char* const name = std::getenv("TZ");
        cachedZone = [[NSTimeZone
            timeZoneWithName:velmiro::test::stringOf(name == nullptr ? "UTC" : name)] retain];
    }
    return [[cachedZone retain] autorelease];
}
@end

/// GNUstep's does not know which calendar it is.
@implementation NSCalendar (AsApples)
+ (id)currentCalendar {
    return
        [NSCalendar calendarWithIdentifier:velmiro::test::stringOf(
                                               velmiro::test::StandIn::shared().currentCalendar)];
}
@end

/// Every program of tests has several threads already.
@implementation NSThread (AsApples)
+ (BOOL)isMultiThreaded {
    return velmiro::test::StandIn::shared().isMultiThreaded;
}
+ (void)detachNewThreadSelector:(SEL)selector toTarget:(id)target withObject:(id)argument {
    velmiro::test::begin("detachNewThreadSelector:toTarget:withObject:", "");
    velmiro::test::StandIn::shared().isMultiThreaded = true;
    [target performSelector:selector withObject:argument];
}
@end

namespace velmiro::test {

void resetFoundation() {
    [NSTimeZone resetSystemTimeZone];
}

} // namespace velmiro::test
