#pragma once

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"

#include <optional>
#include <string>

namespace velmiro::local {

/// What a reminder that repeats is next, as a reminder of its own.
struct NextReminder {
    std::string uid;
    std::string text; ///< of its file
};

/// The next one after the time that `reminder` says of itself (DTSTART, or DUE where it has none),
/// even when that has passed too. It has the same lines, with the dates moved on and what remains
/// of COUNT; the marks of progress are taken off. Nothing when the reminder does not repeat or has
/// come to its end. `bytes` are the file's, `text` the unfolded text that `source` points into.
std::optional<NextReminder> nextReminder(const std::string& bytes, const std::string& text,
                                         const ReminderComponent& source, Instant now,
                                         ZoneCatalogue& zones);

} // namespace velmiro::local
