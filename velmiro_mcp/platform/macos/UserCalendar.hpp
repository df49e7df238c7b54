#pragma once

#import <Foundation/Foundation.h>

namespace velmiro::macos {

/// The machine's time zone of this moment: a change is seen without a restart.
NSTimeZone* userTimeZone();

/// The user's calendar, in that zone. Where the user counts the years in another way, the Gregorian
/// one takes its place: due dates are kept in that, EventKit raises an exception at any other, and
/// its numbers read in, say, the Buddhist calendar would be 543 years off.
NSCalendar* userCalendar();

} // namespace velmiro::macos
