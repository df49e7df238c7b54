#pragma once

#include "velmiro_mcp/platform/local/recurrence/WorkBudget.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmiro::local {

/// How long the period is that a rule repeats in. In ascending order.
enum class Frequency { secondly, minutely, hourly, daily, weekly, monthly, yearly };

/// What becomes of a day that a month does not have, such as 31 April (RFC 7529): nothing, the day
/// before it, or the day after it.
enum class Skip { omit, backward, forward };

/// MO, or the 2MO and -1MO that count within a month or a year.
struct WeekdayRule {
    std::chrono::weekday weekday;
    int ordinal = 0; ///< 0: every one

    friend bool operator==(const WeekdayRule&, const WeekdayRule&) = default;
};

/// An RRULE or EXRULE. The lists hold only numbers that the format allows; an empty list does not
/// limit anything.
struct RecurrenceRule {
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

/// The times at which `rule` repeats something that is first at `start`, those from `from` up to
/// and including `to`, in ascending order; `start` itself is always the first of a rule's times.
/// UNTIL is the caller's affair, for it names an instant. When the budget ends first, the times
/// found until then.
std::vector<CivilTime> recurrences(const RecurrenceRule& rule, CivilTime start, CivilTime from,
                                   CivilTime to, WorkBudget& budget);

} // namespace velmiro::local
