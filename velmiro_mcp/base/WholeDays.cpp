#include "velmiro_mcp/base/WholeDays.hpp"

#include "velmiro_mcp/base/Dates.hpp"

#include <algorithm>

namespace velmiro {
namespace {

using std::chrono::days;
using std::chrono::local_days;

/// Returns the local time without its zone. Differences between such times are those on the clock
/// face: a change of the clock in between does not count.
std::chrono::local_seconds localTime(Instant instant) {
    const WallTime local = wallTime(instant);
    const local_days day{std::chrono::year{local.year} /
                         std::chrono::month{static_cast<unsigned>(local.month)} /
                         std::chrono::day{static_cast<unsigned>(local.day)}};
    return day + std::chrono::hours{local.hour} + std::chrono::minutes{local.minute} +
           std::chrono::seconds{local.second};
}

} // namespace

WholeDays wholeDays(Instant start, Instant end) {
    constexpr std::chrono::hours half{12};
    const auto from = localTime(start);
    const auto first = std::chrono::floor<days>(from);
    const auto count = std::chrono::floor<days>(localTime(end) - from + half);
    return {first, first + std::max(count, days{1})};
}

Instant lastSecond(const WholeDays& days) {
    const std::chrono::year_month_day after{days.end};
    return startOfDay(int{after.year()}, static_cast<int>(unsigned{after.month()}),
                      static_cast<int>(unsigned{after.day()})) -
           std::chrono::seconds{1};
}

} // namespace velmiro
