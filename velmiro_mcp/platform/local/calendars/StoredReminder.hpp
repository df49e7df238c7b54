#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <optional>
#include <string>

namespace velmiro::local {

/// A VTODO as a file contains it. Nothing in it depends on the user's zone, or on when it is read.
struct StoredReminder {
    std::string identifier;
    bool hasUID = false; ///< otherwise the identifier is derived from the file's name
    std::optional<std::string> title;
    std::optional<std::string> notes;
    int priority = 0; ///< 0 to 9
    bool completed = false;
    bool cancelled = false;
    bool isOverride = false;   ///< RECURRENCE-ID: overrides one occurrence of another reminder
    bool isSuperseded = false; ///< by another version in the same file

    std::optional<Moment> due;   ///< DUE, or the DTSTART that a DURATION belongs to
    NominalDuration afterMoment; ///< the DURATION, to be added to `due`

    [[nodiscard]] bool isListed() const { return !isOverride && !isSuperseded; }

    /// Returns whether the reminder is neither completed nor cancelled.
    [[nodiscard]] bool isOpen() const { return !completed && !cancelled; }
};

/// Reads a VTODO. A reminder without a UID gets no identifier here.
StoredReminder readReminder(const Component& component, const ZoneFinder& zones);

/// Returns when the reminder is due on the user's clock; a date is the first instant of its day.
std::optional<Instant> dueDate(const StoredReminder& reminder, UserClock& clock);

} // namespace velmiro::local
