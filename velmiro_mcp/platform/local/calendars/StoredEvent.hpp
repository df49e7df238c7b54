#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"
#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <optional>
#include <string>
#include <vector>

namespace velmiro::local {

/// A VEVENT as a file contains it. Nothing in it depends on the range asked for, on the user's
/// zone, or on when it is read.
struct StoredEvent {
    std::string identifier;
    bool hasUID = false; ///< otherwise the identifier is derived from the file's name
    std::optional<std::string> title;
    std::optional<std::string> location;
    std::optional<std::string> notes;
    Moment start;         ///< in a cancellation of an occurrence without DTSTART: the occurrence's
    bool hasStart = true; ///< false only for a cancellation of the whole event without DTSTART
    std::optional<Moment> end;
    std::optional<NominalDuration> duration;
    bool cancelled = false;

    std::vector<RecurrenceRule> rules;
    std::vector<RecurrenceRule> exceptionRules;
    std::vector<MomentOrPeriod> rdates;
    std::vector<MomentOrPeriod> exdates;

    std::optional<Moment> recurrenceID; ///< the occurrence that this event overrides
    bool thisAndFuture = false;         ///< RANGE=THISANDFUTURE

    [[nodiscard]] bool isAllDay() const { return start.isDate; }
};

/// Reads a VEVENT. Returns `nullopt` if it has no readable start, which only a cancellation may
/// lack. An event without a UID gets no identifier here.
std::optional<StoredEvent> readEvent(const Component& component, const ZoneFinder& zones);

/// Returns how any component that begins at `start` recurs, as an event without texts.
StoredEvent readSeries(const Component& component, const Moment& start, const ZoneFinder& zones);

} // namespace velmiro::local
