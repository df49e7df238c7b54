#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <optional>
#include <string>

namespace velmiro::local {

/// A VTODO as a file holds it: nothing in it depends on the user's zone, or on when it is read.
struct StoredReminder {
    std::string identifier;
    bool hasUID = false; ///< otherwise the identifier is made from the file's name
    std::optional<std::string> title;
    std::optional<std::string> notes;
    int priority = 0; ///< 0 to 9
    bool completed = false;
    bool cancelled = false;
    bool isOverride = false;   ///< RECURRENCE-ID: speaks of one occurrence of another reminder
    bool isSuperseded = false; ///< another version of it in the same file counts

    std::optional<Moment> due;   ///< DUE, or else the DTSTART that a DURATION belongs to
    NominalDuration afterMoment; ///< how long after that moment it is due

    [[nodiscard]] bool isListed() const { return !isOverride && !isSuperseded; }

    /// Neither done nor given up.
    [[nodiscard]] bool isOpen() const { return !completed && !cancelled; }
};

/// A reminder without UID gets no identifier here.
StoredReminder readReminder(const Component& component, const ZoneFinder& zones);

/// When it is due on the user's clock; a date is the first instant of its day.
std::optional<Instant> dueDate(const StoredReminder& reminder, UserClock& clock);

} // namespace velmiro::local
