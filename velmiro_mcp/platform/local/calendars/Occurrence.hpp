#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/calendars/StoredEvent.hpp"

#include <cstddef>
#include <cstdint>

namespace velmiro::local {

/// One occurrence of an event.
struct Occurrence {
    const StoredEvent* event = nullptr;
    Instant start;
    Instant end;
    CivilTime civil{}; ///< in a series: its start as the rule has it, though no clock may show it
};

struct TimeRange {
    Instant start;
    Instant end;

    /// Returns whether something that lasts from `from` to `to` overlaps this range. If it has no
    /// length, it belongs to the range in which it begins.
    [[nodiscard]] bool overlaps(Instant from, Instant to) const {
        return from < end && (to > start || (to == from && from >= start));
    }
};

/// The most steps that one series may take, and that all events of a file may take together. The
/// latter grows with the number of events, so that a large calendar is not mistaken for a hostile
/// one.
inline constexpr std::uint64_t stepsOfSeries = 100'000;
constexpr std::uint64_t stepsOfFile(std::size_t events) {
    return 250'000 + 1'000 * events;
}

} // namespace velmiro::local
