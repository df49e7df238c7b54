#pragma once

#include "velmiro_mcp/platform/local/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/RecurrenceRule.hpp"
#include "velmiro_mcp/platform/local/ZoneCatalogue.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::local {

/// A VEVENT as a file holds it: nothing in it depends on the time asked for, on the user's zone, or
/// on when it is read.
struct StoredEvent {
    std::string identifier;
    bool hasUID = false; ///< otherwise the identifier is made from the file's name
    std::optional<std::string> title;
    std::optional<std::string> location;
    std::optional<std::string> notes;
    Moment start; ///< where the cancellation of an occurrence gives none: that occurrence's
    std::optional<Moment> end;
    std::optional<NominalDuration> duration;
    bool cancelled = false;

    std::vector<RecurrenceRule> rules;
    std::vector<RecurrenceRule> exceptionRules;
    std::vector<AddedTime> added;
    std::vector<AddedTime> removed;

    std::optional<Moment> replaces; ///< RECURRENCE-ID: the occurrence whose place this one takes
    bool andFuture = false;         ///< RANGE=THISANDFUTURE

    [[nodiscard]] bool isAllDay() const { return start.isDate; }
};

struct EventFile {
    std::vector<StoredEvent> events;
    std::uint64_t steps = 0; ///< the work that reading it took
};

/// Reads every VEVENT of a file: in whatever number of calendars, or in none. One that is cut off
/// at the end of the file, or has no readable start, is passed over. `name` is the file's name, for
/// identifiers of events that have none.
EventFile readEventFile(std::string bytes, const std::string& name, ZoneCatalogue& zones);

} // namespace velmiro::local
