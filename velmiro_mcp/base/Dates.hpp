#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

/// Dates as the agent writes and reads them, and as the user's clock shows them.
///
/// The time zone is this machine's (TZ, else /etc/localtime). It is read afresh for every value, so
/// a change takes effect while the server runs. Any thread may call.
namespace velmiro {

/// A local date and time of day, as calendar and wall clock show them.
struct WallTime {
    int year = 1970;
    int month = 1; ///< 1 to 12
    int day = 1;   ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend auto operator<=>(const WallTime&, const WallTime&) = default;
};

/// Returns whether the calendar has such a day and the clock such a time (no 30 February, no 24:00,
/// no leap second). The functions below require both.
bool isValid(const WallTime& time) noexcept;

/// Returns this machine's local time at `instant`; milliseconds are dropped.
WallTime wallTime(Instant instant);

/// Returns the instant at which this machine's clock shows `time`. A time that occurs twice means
/// the first of the two. A time that the clock skips is moved forward by the length of the gap
/// (02:30 becomes 03:30 where the clock goes from 2 to 3).
Instant instantOf(const WallTime& time);

/// Returns the first instant of this day, which must exist: midnight, or the end of the gap where
/// the clock skips midnight.
Instant startOfDay(int year, int month, int day);

/// Returns the first instant of today.
Instant startOfToday();

/// Formats a date for results: 2026-10-14T15:00:00+02:00, with the offset of this machine's zone at
/// that instant. Offset zero is written as Z; milliseconds are dropped.
std::string dateText(Instant instant);

/// Reads a date as an agent writes it: ISO 8601 with an offset, with or without fractional seconds;
/// local time (2026-10-14T15:00:00, 2026-10-14T15:00, 2026-10-14 15:00); or a bare day, which means
/// its first instant. Returns nullopt for any other text, and for a date that does not exist.
/// Months, days, hours, minutes and seconds may have one digit; years have four.
std::optional<Instant> parseDate(std::string_view text);

} // namespace velmiro
