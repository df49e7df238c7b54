#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

/// Dates as the agent writes and reads them, and as the user's clock shows them.
///
/// The time zone is the one of this machine (TZ, else /etc/localtime) and is looked at afresh for
/// every value, so a change made while the server runs is seen at once. Any thread may call.
namespace velmiro {

/// What a clock on the wall and the calendar beside it show; fields may not be out of range.
struct WallTime {
    int year = 1970;
    int month = 1; ///< 1 to 12
    int day = 1;   ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend auto operator<=>(const WallTime&, const WallTime&) = default;
};

/// Whether the calendar has such a day and the clock such a time (no 30 February, no 24:00, no
/// leap second).
bool isPossible(const WallTime& time) noexcept;

/// What the clock on this machine's wall shows at `instant`; milliseconds are dropped.
WallTime wallTime(Instant instant);

/// When this machine's clock shows `time`, which must be possible. A time that comes twice is the
/// first one; a time that the clock skips is as far behind the gap as it was into it (02:30 becomes
/// 03:30 where the clock goes from 2 to 3).
Instant instantOf(const WallTime& time);

/// The first instant of the day that has this year, month and day: midnight, or the end of the gap
/// where the clock skips midnight. The day must be possible.
Instant startOfDay(int year, int month, int day);

/// The first instant of today.
Instant startOfToday();

/// Date text for results: 2026-10-14T15:00:00+02:00, with the offset of this machine's zone at that
/// instant; offset zero is written Z, milliseconds are dropped.
std::string dateText(Instant instant);

/// Reads a date as an agent writes it: ISO 8601 with an offset, with or without fractional seconds;
/// or local wall-clock time (2026-10-14T15:00:00, 2026-10-14T15:00, 2026-10-14 15:00); or a bare
/// day, which is its first instant. Nothing when the text is none of these, or not a possible date.
/// Months, days, hours, minutes and seconds may have one digit; years have four.
std::optional<Instant> parseDate(std::string_view text);

} // namespace velmiro
