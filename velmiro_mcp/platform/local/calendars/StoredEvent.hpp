#pragma once

#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/icalendar/Components.hpp"
#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

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
    Moment start;         ///< where the cancellation of an occurrence gives none: that occurrence's
    bool hasStart = true; ///< false only for a cancellation of the whole event that gives none
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

/// Returns `nullopt` when the VEVENT has no readable start, which only a cancellation can do
/// without. An event without UID gets no identifier here.
std::optional<StoredEvent> readEvent(const Component& component, const ZoneFinder& zones);

/// How any component that begins at `start` repeats, as an event without texts.
StoredEvent readSeries(const Component& component, const Moment& start, const ZoneFinder& zones);

} // namespace velmiro::local
