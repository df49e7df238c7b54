#pragma once

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#import <EventKit/EventKit.h>

#include <algorithm>

/// EventKit's items as records of the ports. Any property of an item may be nil.
namespace velmiro::macos {

Calendar recordOf(EKCalendar* calendar);
std::optional<Calendar> optionalRecordOf(EKCalendar* calendar);
Event recordOf(EKEvent* event);
Reminder recordOf(EKReminder* reminder);

/// Returns the records of the first `most` items that can be read. An item that raises an exception
/// is skipped and does not hide the others.
template <typename Record, typename Item>
std::vector<Record> recordsOf(NSArray<Item*>* items, std::size_t most) {
    std::vector<Record> records;
    records.reserve(std::min<std::size_t>(items.count, most));
    for (Item* item in items) {
        if (records.size() == most) {
            break;
        }
        attempt([&](Problem&) { records.push_back(recordOf(item)); });
    }
    return records;
}

/// Returns a due date as EventKit stores it: in the Gregorian calendar, to the minute, with a time
/// of day, and floating: it is due at that local time, whatever zone the user is in then.
NSDateComponents* dueDateComponents(Instant due);

} // namespace velmiro::macos
