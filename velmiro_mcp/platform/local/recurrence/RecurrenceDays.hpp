#pragma once

#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <optional>
#include <vector>

namespace velmiro::local {

/// The days that a rule matches, whatever the time of day.
///
/// A rule that repeats daily or more often calls `matches` for each day it reaches. A rule that
/// repeats weekly, monthly or yearly asks for all days of such a period.
class RecurrenceDays {
public:
    /// `rule` must outlive this object. Parts that the rule leaves out come from `start`.
    RecurrenceDays(const RecurrenceRule& rule, CivilDay start);

    /// Returns whether the rule's lists allow this day.
    [[nodiscard]] bool matches(CivilDay day) const;

    /// Returns whether the rule's months allow this month.
    [[nodiscard]] bool matchesMonth(std::chrono::month month) const;

    // Return the matching days of one period, in ascending order. Each day checked is a step.
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

/// Returns the first day of the week that contains `day`, if weeks begin on `weekStart`.
CivilDay startOfWeek(CivilDay day, std::chrono::weekday weekStart);

} // namespace velmiro::local
