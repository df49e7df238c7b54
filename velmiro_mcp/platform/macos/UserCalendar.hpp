#pragma once

#import <Foundation/Foundation.h>

namespace velmiro::macos {

/// Returns the machine's current time zone: a change is seen without a restart.
NSTimeZone* userTimeZone();

/// Returns the user's calendar, in that zone, or the Gregorian one if the user counts the years in
/// another way. EventKit stores due dates in the Gregorian calendar and raises an exception for any
/// other; its numbers, read in the Buddhist calendar for instance, would be 543 years off.
NSCalendar* userCalendar();

} // namespace velmiro::macos
