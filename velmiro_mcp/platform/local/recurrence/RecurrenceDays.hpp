#pragma once

#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <optional>
#include <vector>

namespace velmiro::local {

/// Which days a rule means, apart from the time of day.
///
/// A rule that repeats by the day or more often uses `matches` on each day it comes to. One that
/// repeats by the week, month or year is asked for all the days of such a period.
class RecurrenceDays {
public:
    /// `rule` must outlive this object. What the rule leaves open is taken from `start`.
    RecurrenceDays(const RecurrenceRule& rule, CivilDay start);

    /// Whether the rule's lists let this day pass.
    [[nodiscard]] bool matches(CivilDay day) const;

    /// Whether the rule's lists of months let this month pass.
    [[nodiscard]] bool matchesMonth(std::chrono::month month) const;

    // The matching days of one period, ascending; each day looked at is a step.
    [[nodiscard]] std::vector<CivilDay> ofWeek(CivilDay firstDay, WorkBudget& budget) const;
    [[nodiscard]] std::vector<CivilDay> ofMonth(std::chrono::year_month month,
                                                WorkBudget& budget) const;
    [[nodiscard]] std::vector<CivilDay> ofYear(std::chrono::year year, WorkBudget& budget) const;

private:
    [[nodiscard]] bool matchesMonthDay(CivilDay day) const;
    [[nodiscard]] bool matchesYearDayAndWeekday(CivilDay day) const;
    [[nodiscard]] bool matchesWeekday(CivilDay day, const std::chrono::year_month_day& date) const;
    [[nodiscard]] std::optional<CivilDay> standInForSkipped(std::chrono::year_month month) const;
    [[nodiscard]] std::vector<CivilDay> matchingDays(CivilDay first, CivilDay last,
                                                     WorkBudget& budget) const;
    [[nodiscard]] std::vector<CivilDay> ofNumberedWeeks(std::chrono::year year,
                                                        WorkBudget& budget) const;

    const RecurrenceRule& rule_;
    std::vector<int> months_;
    std::vector<int> monthDays_;
    std::vector<WeekdayRule> weekdays_;
    enum class Ordinals { ignored, inMonth, inYear } ordinals_ = Ordinals::ignored;
};

/// The first day of the week that holds `day`, where weeks begin with `weekStart`.
CivilDay startOfWeek(CivilDay day, std::chrono::weekday weekStart);

} // namespace velmiro::local
