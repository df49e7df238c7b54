#pragma once

#include "tests/macos/standin/StandIn.hpp"

#include <optional>
#include <string>

#import <EventKit/EventKit.h>

/// How the stand-ins make their objects, and how each of their methods begins. Nothing here is
/// taken from the platform under test.
namespace velmiro::test {

NSString* stringOf(const std::string& text);
std::string textOf(NSString* string); ///< nil is "nil"
NSDate* dateOf(const std::optional<Instant>& instant);
std::optional<Instant> instantOf(NSDate* date);
std::string secondsOf(NSDate* date); ///< since 1970, as the journal has them

/// Raises what the test wants this call to raise.
void begin(const std::string& call);
/// Writes a call with its arguments into the journal first.
void begin(const std::string& call, const std::string& arguments);

/// Whether this property, of this item alone or of all, is to be nil; after `begin`.
bool isNil(const std::string& property, const std::string& identifier);

/// How a save, or a search, goes wrong, if it is to: NO, or nil. `error` gets what the test wants.
bool isRefused(const std::string& call, NSError** error);
NSError* errorWith(const std::string& description);

[[noreturn]] void raise(const std::string& reason);

EKCalendar* calendarObject(const Calendar& calendar);
const Calendar& recordOf(EKCalendar* calendar);
std::string titlesOf(NSArray<EKCalendar*>* calendars); ///< as the journal has them

EKEvent* eventObject(const Event& event, EKEventStore* store);
EKReminder* reminderObject(const Reminder& reminder, EKEventStore* store);
/// What a new item is saved with.
NewEvent newEvent(EKEvent* event);
NewReminder newReminder(EKReminder* reminder);
EKEventStore* storeOf(EKCalendarItem* item);
void setIdentifier(EKCalendarItem* item, const std::string& identifier);

} // namespace velmiro::test
