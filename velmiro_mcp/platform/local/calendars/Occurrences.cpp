#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"

#include "velmiro_mcp/platform/local/calendars/Series.hpp"
#include "velmiro_mcp/platform/local/calendars/Span.hpp"

#include <map>
#include <optional>
#include <span>
#include <string_view>

namespace velmiro::local {
namespace {

bool isSeries(const StoredEvent& event) {
    return !event.rules.empty() || !event.rdates.empty() || !event.exdates.empty();
}

/// Returns the occurrence of an event that does not recur, if it is in the range.
std::optional<Occurrence> singleOccurrence(const StoredEvent& event, const TimeRange& range,
                                           UserClock& clock) {
    // Most events are far from the range in any zone. That is seen without looking up the zone.
    constexpr std::chrono::days slack{2};
    const Instant asUTC{event.start.civil.time_since_epoch()};
    if (asUTC - slack >= range.end) {
        return std::nullopt;
    }
    if (event.end && Instant{event.end->civil.time_since_epoch()} + slack < range.start &&
        asUTC + slack < range.start) {
        return std::nullopt;
    }
    const Instant start = clock.instantOf(event.start);
    const Instant end =
        endOf(event.start, spanOf(event.start, event.end, event.duration, clock), clock);
    return range.overlaps(start, end) ? std::optional{Occurrence{&event, start, end}}
                                      : std::nullopt;
}

} // namespace

std::vector<Occurrence> occurrences(const std::vector<StoredEvent>& events, const TimeRange& range,
                                    UserClock& clock, WorkBudget& budget) {
    std::map<std::string_view, std::vector<const StoredEvent*>> overridesByUID;
    for (const StoredEvent& event : events) {
        if (event.recurrenceID && event.hasUID) {
            overridesByUID[event.identifier].push_back(&event);
        }
    }
    std::vector<Occurrence> found;
    for (const StoredEvent& event : events) {
        if (event.recurrenceID && event.cancelled) {
            continue;
        }
        std::span<const StoredEvent* const> overrides;
        if (const auto known = overridesByUID.find(event.identifier);
            known != overridesByUID.end() && !event.recurrenceID && event.hasUID) {
            overrides = known->second;
        }
        if (overrides.empty() && !isSeries(event)) {
            if (const auto single = singleOccurrence(event, range, clock)) {
                found.push_back(*single);
            }
            continue;
        }
        WorkBudget seriesBudget{stepsOfSeries, &budget};
        const auto series = seriesOccurrences(event, overrides, range, clock, seriesBudget);
        found.insert(found.end(), series.begin(), series.end());
    }
    return found;
}

} // namespace velmiro::local
