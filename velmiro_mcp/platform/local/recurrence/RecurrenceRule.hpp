#pragma once

#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmiro::local {

/// The period in which a rule repeats, from the shortest to the longest.
enum class Frequency { secondly, minutely, hourly, daily, weekly, monthly, yearly };

/// What replaces a day that a month does not have, such as 31 April (RFC 7529): no day, the day
/// before it, or the day after it.
enum class Skip { omit, backward, forward };

/// MO, or 2MO and -1MO, which count within a month or a year.
struct WeekdayRule {
    std::chrono::weekday weekday;
    int ordinal = 0; ///< 0: every such weekday

    friend bool operator==(const WeekdayRule&, const WeekdayRule&) = default;
};

/// An RRULE or EXRULE. The lists contain only numbers that the format allows; an empty list sets no
/// limit.
struct RecurrenceRule {
    bool isException = false; ///< an EXRULE
    Frequency frequency = Frequency::daily;
    int interval = 1; ///< at least 1
    std::optional<std::int64_t> count;
    std::optional<Moment> until;
    std::chrono::weekday weekStart = std::chrono::Monday;
    Skip skip = Skip::omit;
    std::vector<int> seconds;
    std::vector<int> minutes;
    std::vector<int> hours;
    std::vector<WeekdayRule> weekdays;
    std::vector<int> monthDays; ///< negative: from the end of the month
    std::vector<int> yearDays;  ///< negative: from the end of the year
    std::vector<int> weeks;     ///< negative: from the end of the year
    std::vector<int> months;
    std::vector<int> positions; ///< which of a period's times; negative: from its end
};

/// Returns the times of `rule` from `from` up to and including `to`, in ascending order. An RRULE's
/// first time is always `start`, an EXRULE's only if it matches. The caller applies UNTIL, because
/// it names an instant. If the budget runs out, returns the times found so far.
std::vector<CivilTime> recurrences(const RecurrenceRule& rule, CivilTime start, CivilTime from,
                                   CivilTime to, WorkBudget& budget);

} // namespace velmiro::local
