#include "velmiro_mcp/base/WholeDays.hpp"

#include "velmiro_mcp/base/Dates.hpp"

#include <algorithm>

namespace velmiro {
namespace {

using std::chrono::days;
using std::chrono::local_days;

/// Returns the local time without its zone. Differences between such times are those on the clock
/// face: a change of the clock in between does not count.
std::chrono::local_seconds shownAt(Instant instant) {
    const WallTime shown = wallTime(instant);
    const local_days day{std::chrono::year{shown.year} /
                         std::chrono::month{static_cast<unsigned>(shown.month)} /
                         std::chrono::day{static_cast<unsigned>(shown.day)}};
    return day + std::chrono::hours{shown.hour} + std::chrono::minutes{shown.minute} +
           std::chrono::seconds{shown.second};
}

} // namespace

WholeDays wholeDays(Instant start, Instant end) {
    constexpr std::chrono::hours half{12};
    const auto from = shownAt(start);
    const auto first = std::chrono::floor<days>(from);
    const auto count = std::chrono::floor<days>(shownAt(end) - from + half);
    return {first, first + std::max(count, days{1})};
}

Instant lastSecond(const WholeDays& days) {
    const std::chrono::year_month_day after{days.end};
    return startOfDay(int{after.year()}, static_cast<int>(unsigned{after.month()}),
                      static_cast<int>(unsigned{after.day()})) -
           std::chrono::seconds{1};
}

} // namespace velmiro
