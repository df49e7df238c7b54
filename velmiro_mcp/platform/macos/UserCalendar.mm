#include "velmiro_mcp/platform/macos/UserCalendar.hpp"

namespace velmiro::macos {

NSTimeZone* userTimeZone() {
    [NSTimeZone resetSystemTimeZone];
    return [NSTimeZone systemTimeZone];
}

NSCalendar* userCalendar() {
    NSCalendar* calendar = [NSCalendar currentCalendar];
    if (![calendar.calendarIdentifier isEqualToString:NSCalendarIdentifierGregorian]) {
        calendar = [NSCalendar calendarWithIdentifier:NSCalendarIdentifierGregorian];
    }
    calendar.timeZone = userTimeZone();
    return calendar;
}

} // namespace velmiro::macos
