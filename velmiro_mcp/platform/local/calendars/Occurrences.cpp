#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"

#include "velmiro_mcp/platform/local/calendars/Series.hpp"
#include "velmiro_mcp/platform/local/calendars/Span.hpp"

#include <map>
#include <span>
#include <string_view>

namespace velmiro::local {
namespace {

bool isSeries(const StoredEvent& event) {
    return !event.rules.empty() || !event.added.empty() || !event.removed.empty();
}

/// The one occurrence of an event without repetition, when it is in the range.
void addSingle(const StoredEvent& event, const TimeRange& range, UserClock& clock,
               std::vector<Occurrence>& found) {
    // Most events are far from the range, whatever the zone; that needs no zone to be seen.
    constexpr std::chrono::days slack{2};
    const Instant asUTC{event.start.civil.time_since_epoch()};
    if (asUTC - slack >= range.end) {
        return;
    }
    if (event.end && Instant{event.end->civil.time_since_epoch()} + slack < range.start &&
        asUTC + slack < range.start) {
        return;
    }
    const Instant start = clock.instantOf(event.start);
    const Instant end =
        endOf(event.start, spanOf(event.start, event.end, event.duration, clock), clock);
    if (range.overlaps(start, end)) {
        found.push_back({&event, start, end});
    }
}

} // namespace

std::vector<Occurrence> occurrences(const std::vector<StoredEvent>& events, const TimeRange& range,
                                    UserClock& clock, WorkBudget& budget) {
    std::map<std::string_view, std::vector<const StoredEvent*>> replacements;
    for (const StoredEvent& event : events) {
        if (event.replaces && event.hasUID) {
            replacements[event.identifier].push_back(&event);
        }
    }
    std::vector<Occurrence> found;
    for (const StoredEvent& event : events) {
        if (event.replaces && event.cancelled) {
            continue;
        }
        std::span<const StoredEvent* const> others;
        if (const auto known = replacements.find(event.identifier);
            known != replacements.end() && !event.replaces && event.hasUID) {
            others = known->second;
        }
        if (others.empty() && !isSeries(event)) {
            addSingle(event, range, clock, found);
            continue;
        }
        WorkBudget own{stepsOfSeries, &budget};
        const auto series = seriesOccurrences(event, others, range, clock, own);
        found.insert(found.end(), series.begin(), series.end());
    }
    return found;
}

} // namespace velmiro::local
