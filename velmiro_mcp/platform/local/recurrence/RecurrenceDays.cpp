#include "velmiro_mcp/platform/local/recurrence/RecurrenceDays.hpp"

#include <algorithm>

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::weeks;
using std::chrono::year;
using std::chrono::year_month;
using std::chrono::year_month_day;

CivilDay firstOf(year_month month) {
    return CivilDay{month / 1};
}
CivilDay firstOf(year of) {
    return firstOf(of / std::chrono::January);
}

bool contains(const std::vector<int>& list, int value) {
    return std::ranges::find(list, value) != list.end();
}

/// Returns whether `list` contains the position of `day` among the days from `first` up to `end`,
/// counted from 1, or backwards from -1.
bool containsPosition(const std::vector<int>& list, CivilDay day, CivilDay first, CivilDay end) {
    return contains(list, static_cast<int>((day - first).count()) + 1) ||
           contains(list, -static_cast<int>((end - day).count()));
}

void append(std::vector<CivilDay>& found, const std::vector<CivilDay>& more) {
    found.insert(found.end(), more.begin(), more.end());
}

/// Returns when the first week of a year begins: the first with at least four days in that year.
CivilDay firstWeekOf(year of, std::chrono::weekday weekStart) {
    return startOfWeek(firstOf(of) + days{3}, weekStart);
}

} // namespace

CivilDay startOfWeek(CivilDay day, std::chrono::weekday weekStart) {
    return day - (std::chrono::weekday{day} - weekStart);
}

RecurrenceDays::RecurrenceDays(const RecurrenceRule& rule, CivilDay start)
    : rule_{rule},
      months_{rule.months},
      monthDays_{rule.monthDays},
      weekdays_{rule.weekdays} {
    const year_month_day date{start};
    if (rule.frequency == Frequency::monthly ||
        (rule.frequency == Frequency::yearly && !rule.months.empty())) {
        ordinals_ = Ordinals::inMonth;
    } else if (rule.frequency == Frequency::yearly && rule.weeks.empty()) {
        ordinals_ = Ordinals::inYear;
    }
    // A rule that names no day takes it from its start.
    if (!weekdays_.empty() || !monthDays_.empty() || !rule.yearDays.empty()) {
        return;
    }
    const auto monthDay = static_cast<int>(unsigned{date.day()});
    switch (rule.frequency) {
    case Frequency::yearly:
        if (!rule.weeks.empty()) {
            weekdays_.push_back({std::chrono::weekday{start}});
        } else {
            monthDays_.push_back(monthDay);
            if (months_.empty()) {
                months_.push_back(static_cast<int>(unsigned{date.month()}));
            }
        }
        break;
    case Frequency::monthly:
        monthDays_.push_back(monthDay);
        break;
    case Frequency::weekly:
        weekdays_.push_back({std::chrono::weekday{start}});
        break;
    default:
        break;
    }
}

bool RecurrenceDays::matchesMonth(std::chrono::month month) const {
    return months_.empty() || contains(months_, static_cast<int>(unsigned{month}));
}

bool RecurrenceDays::matchesWeekday(CivilDay day, const year_month_day& date) const {
    const std::chrono::weekday weekday{day};
    const auto month = date.year() / date.month();
    const bool inYear = ordinals_ == Ordinals::inYear;
    const CivilDay first = inYear ? firstOf(date.year()) : firstOf(month);
    const CivilDay end = inYear ? firstOf(date.year() + std::chrono::years{1})
                                : firstOf(month + std::chrono::months{1});
    return std::ranges::any_of(weekdays_, [&](const WeekdayRule& wanted) {
        if (wanted.weekday != weekday) {
            return false;
        }
        if (wanted.ordinal == 0 || ordinals_ == Ordinals::ignored) {
            return true;
        }
        const auto ordinal = wanted.ordinal > 0 ? (day - first) / weeks{1} + 1
                                                : -((end - days{1} - day) / weeks{1} + 1);
        return ordinal == wanted.ordinal;
    });
}

bool RecurrenceDays::matches(CivilDay day) const {
    return matchesMonth(year_month_day{day}.month()) && matchesMonthDay(day) &&
           matchesYearDayAndWeekday(day);
}

bool RecurrenceDays::matchesMonthDay(CivilDay day) const {
    const year_month_day date{day};
    const auto month = date.year() / date.month();
    return monthDays_.empty() || containsPosition(monthDays_, day, firstOf(month),
                                                  firstOf(month + std::chrono::months{1}));
}

bool RecurrenceDays::matchesYearDayAndWeekday(CivilDay day) const {
    const year_month_day date{day};
    if (!rule_.yearDays.empty() &&
        !containsPosition(rule_.yearDays, day, firstOf(date.year()),
                          firstOf(date.year() + std::chrono::years{1}))) {
        return false;
    }
    return weekdays_.empty() || matchesWeekday(day, date);
}

std::vector<CivilDay> RecurrenceDays::ofWeek(CivilDay firstDay, WorkBudget& budget) const {
    return matchingDays(firstDay, firstDay + days{6}, budget);
}

std::vector<CivilDay> RecurrenceDays::matchingDays(CivilDay first, CivilDay last,
                                                   WorkBudget& budget) const {
    std::vector<CivilDay> found;
    for (CivilDay day = first; day <= last && budget.spend(); day += days{1}) {
        if (matches(day)) {
            found.push_back(day);
        }
    }
    return found;
}

std::vector<CivilDay> RecurrenceDays::ofMonth(year_month month, WorkBudget& budget) const {
    if (!matchesMonth(month.month())) {
        return {};
    }
    auto found =
        matchingDays(firstOf(month), firstOf(month + std::chrono::months{1}) - days{1}, budget);
    const auto standIn = standInForSkipped(month);
    if (standIn && (found.empty() || found.back() < *standIn)) {
        found.push_back(*standIn);
    }
    return found;
}

/// Returns the day that replaces those which the month lacks, if it matches. It can be the first of
/// the next month, which then finds it again.
std::optional<CivilDay> RecurrenceDays::standInForSkipped(year_month month) const {
    const CivilDay end = firstOf(month + std::chrono::months{1});
    const auto length = (end - firstOf(month)).count();
    const bool lacksOne = std::ranges::any_of(monthDays_, [&](int day) { return day > length; });
    if (rule_.skip == Skip::omit || !lacksOne) {
        return std::nullopt;
    }
    const CivilDay standIn = rule_.skip == Skip::backward ? end - days{1} : end;
    return matchesYearDayAndWeekday(standIn) ? std::optional{standIn} : std::nullopt;
}

std::vector<CivilDay> RecurrenceDays::ofYear(year of, WorkBudget& budget) const {
    if (!rule_.weeks.empty()) {
        return ofNumberedWeeks(of, budget);
    }
    std::vector<CivilDay> found;
    for (unsigned month = 1; month <= 12; ++month) {
        append(found, ofMonth(of / std::chrono::month{month}, budget));
    }
    found.erase(std::ranges::unique(found).begin(), found.end());
    return found;
}

std::vector<CivilDay> RecurrenceDays::ofNumberedWeeks(year of, WorkBudget& budget) const {
    const CivilDay first = firstWeekOf(of, rule_.weekStart);
    const CivilDay end = firstWeekOf(of + std::chrono::years{1}, rule_.weekStart);
    const auto count = static_cast<int>((end - first) / weeks{1});
    std::vector<CivilDay> found;
    for (int week = 1; week <= count; ++week) {
        if (contains(rule_.weeks, week) || contains(rule_.weeks, week - count - 1)) {
            append(found, ofWeek(first + weeks{week - 1}, budget));
        }
    }
    return found;
}

} // namespace velmiro::local
