#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/calendars/StoredEvent.hpp"

#include <cstddef>
#include <cstdint>

namespace velmiro::local {

/// An event as it takes place once.
struct Occurrence {
    const StoredEvent* event = nullptr;
    Instant start;
    Instant end;
};

struct TimeRange {
    Instant start;
    Instant end;

    /// Whether something that takes place from `from` to `to` takes place in this range too; what
    /// lasts no time does where it begins.
    [[nodiscard]] bool overlaps(Instant from, Instant to) const {
        return from < end && (to > start || (to == from && from >= start));
    }
};

/// How many steps one series may take, and how many all events of a file together may: the latter
/// grows with the number of events, so that a large calendar is not taken for a hostile one.
inline constexpr std::uint64_t stepsOfSeries = 100'000;
constexpr std::uint64_t stepsOfFile(std::size_t events) {
    return 250'000 + 1'000 * events;
}

} // namespace velmiro::local
