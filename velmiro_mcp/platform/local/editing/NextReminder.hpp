#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"

#include <optional>
#include <string>

namespace velmiro::local {

/// The next occurrence of a recurring reminder, as a new reminder.
struct NextReminder {
    std::string uid;
    std::string text; ///< of its file
};

/// Returns the first occurrence after the reminder's own time (DTSTART, or DUE if it has none),
/// even if that is in the past; nullopt if the reminder does not recur or its series has ended.
///
/// It has the same lines, with the dates moved, COUNT reduced, and the marks of progress removed.
/// `bytes` is the file, `text` the unfolded text that `source` points into.
std::optional<NextReminder> nextReminder(const std::string& bytes, const std::string& text,
                                         const ReminderComponent& source, Instant now,
                                         ZoneCatalogue& zones);

} // namespace velmiro::local
