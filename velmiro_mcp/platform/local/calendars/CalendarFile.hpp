#pragma once

#include "velmiro_mcp/platform/local/calendars/StoredEvent.hpp"
#include "velmiro_mcp/platform/local/calendars/StoredReminder.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velmiro::local {

/// The items of an iCalendar file.
struct CalendarFile {
    std::vector<StoredEvent> events;
    std::vector<StoredReminder> reminders;
    std::uint64_t steps = 0; ///< the steps that reading it took
};

/// Reads every VEVENT and VTODO of a file, whether in one calendar, in several or in none. An item
/// that is cut off at the end of the file, and an event without a readable start, are skipped.
/// `name` is the file's name, for the identifiers of items that have none.
CalendarFile readCalendarFile(std::string bytes, const std::string& name, ZoneCatalogue& zones);

/// A VTODO, and the VCALENDAR that contains it, if any.
struct ReminderComponent {
    const Component* reminder;
    const Component* calendar;
};

/// The VTODOs that `readCalendarFile` reads, in its order. The components must stay where they are.
std::vector<ReminderComponent> reminderComponents(const std::vector<Component>& components);

std::size_t memoryOf(const CalendarFile& file);

} // namespace velmiro::local
