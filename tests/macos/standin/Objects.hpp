#pragma once

#include "tests/macos/standin/StandIn.hpp"

#include <optional>
#include <string>

#import <EventKit/EventKit.h>

/// How the stand-ins create their objects, and how each of their methods begins. Nothing here is
/// shared with the platform under test.
namespace velmiro::test {

NSString* stringOf(const std::string& text);
std::string textOf(NSString* string); ///< nil is "nil"
NSDate* dateOf(const std::optional<Instant>& instant);
std::optional<Instant> instantOf(NSDate* date);
std::string secondsOf(NSDate* date); ///< since 1970, as in the journal

/// Counts a call, and raises an exception if the test has set one for it.
void begin(const std::string& call);
/// Does the same after adding the call and its arguments to the journal.
void begin(const std::string& call, const std::string& arguments);

/// Calls `begin` for a property and returns whether the test wants it to be nil, for this item
/// alone or for all.
bool isNil(const std::string& property, const std::string& identifier);

/// Returns whether the test wants this save, or search, to fail: with NO, or nil. Sets `error` to
/// the test's error, if there is one.
bool isRefused(const std::string& call, NSError** error);
NSError* errorWith(const std::string& description);

[[noreturn]] void raise(const std::string& reason);

EKCalendar* calendarObject(const Calendar& calendar);
const Calendar& recordOf(EKCalendar* calendar);
std::string titlesOf(NSArray<EKCalendar*>* calendars); ///< as in the journal

EKEvent* eventObject(const Event& event, EKEventStore* store);
EKReminder* reminderObject(const Reminder& reminder, EKEventStore* store);
/// Returns the data with which a new item is saved.
NewEvent newEvent(EKEvent* event);
NewReminder newReminder(EKReminder* reminder);
EKEventStore* storeOf(EKCalendarItem* item);
void setIdentifier(EKCalendarItem* item, const std::string& identifier);

} // namespace velmiro::test
