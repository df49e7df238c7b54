#include "tests/macos/standin/Objects.hpp"

#include <cstdlib>

// Replacements where GNUstep's Foundation behaves differently from Apple's, or would answer for the
// machine instead of the test.

#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation" // replacing is the purpose

namespace {

NSTimeZone* cachedZone = nil;

} // namespace

/// Apple's system time zone is the one in TZ, and is cached until it is reset.
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

/// GNUstep's current calendar does not know its identifier.
@implementation NSCalendar (AsApples)
+ (id)currentCalendar {
    return
        [NSCalendar calendarWithIdentifier:velmiro::test::stringOf(
                                               velmiro::test::StandIn::shared().currentCalendar)];
}
@end

/// A test program already has several threads, so the test sets the answer.
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
