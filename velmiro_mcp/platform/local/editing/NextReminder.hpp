#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"

#include <optional>
#include <string>
#include <vector>

namespace velmiro::local {

/// The next occurrence of a recurring reminder, as a new reminder.
struct NextReminder {
    std::string uid;
    std::string text; ///< of its file
};

/// Returns the first occurrence after the reminder's own time (DTSTART, or DUE if it has none),
/// even if that is in the past; nullopt if the reminder does not recur or its series has ended. An
/// occurrence that another of the file's reminders overrides as done or cancelled does not count.
///
/// It has the same lines, with the dates moved, COUNT reduced, and the marks of progress removed.
/// What a rule took from the old start is written out if the rest of the series would change
/// otherwise; throws PlatformError if it would change even so. `bytes` is the file, `text` the
/// unfolded text that `all` and `source`, one of them, point into.
std::optional<NextReminder> nextReminder(const std::string& bytes, const std::string& text,
                                         const std::vector<ReminderComponent>& all,
                                         const ReminderComponent& source, Instant now,
                                         ZoneCatalogue& zones);

} // namespace velmiro::local
