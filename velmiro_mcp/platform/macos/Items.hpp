#pragma once

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#import <EventKit/EventKit.h>

#include <algorithm>

/// EventKit's items as the records of the ports. Whatever an item does not have may be nil.
namespace velmiro::macos {

Calendar recordOf(EKCalendar* calendar);
std::optional<Calendar> optionalRecordOf(EKCalendar* calendar);
Event recordOf(EKEvent* event);
Reminder recordOf(EKReminder* reminder);

/// The records of the first `most` items that can be read: one whose reading raises an exception is
/// passed over, and does not hide the others.
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

/// The parts of a due date as EventKit keeps them: in its Gregorian calendar, to the minute, with a
/// time, and in whatever zone the user is in when it comes.
NSDateComponents* dueDateComponents(Instant due);

} // namespace velmiro::macos
