#include "velmiro_mcp/platform/local/recurrence/RecurrenceDays.hpp"
#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"

#include <algorithm>

// A rule is expanded here, not by a library. A library searches for the next time however long that
// takes, and nothing outside it can bound the search: for a rule that never matches, one step was
// measured at half a second for FREQ=DAILY and more than eight seconds for FREQ=HOURLY. Here a rule
// is a sequence of periods (years, …, seconds), and expanding a period costs one step or a few. A
// rule without COUNT begins one period before the range asked for, not at its start. The tests
// compare the times with the library's.
//
// All of this is in civil time, so that 09:00 stays 09:00 when the clocks change.

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::year;
using std::chrono::year_month_day;

bool allows(const std::vector<int>& list, std::int64_t value) {
    return list.empty() || std::ranges::find(list, static_cast<int>(value)) != list.end();
}

/// Returns the list, or the start's own value if the rule has none.
std::vector<int> listOr(const std::vector<int>& list, std::int64_t shownByStart) {
    return list.empty() ? std::vector<int>{static_cast<int>(shownByStart)} : list;
}

/// Receives the times that a rule finds, in ascending order, and keeps those in the range. It is
/// finished when there are no more to find.
class Selection {
public:
    Selection(const RecurrenceRule& rule, CivilTime start, CivilTime from, CivilTime to,
              WorkBudget& budget)
        : rule_{rule},
          from_{from},
          to_{to},
          budget_{budget},
          last_{start - seconds{1}} {
        if (!rule.isException) {
            keep(start);
        }
    }

    [[nodiscard]] bool finished() const { return finished_; }

    void add(CivilTime time) {
        if (finished_ || time <= last_) {
            return;
        }
        if (time > to_ || !budget_.spend()) {
            finished_ = true;
            return;
        }
        keep(time);
    }

    std::vector<CivilTime> take() { return std::move(found_); }

private:
    void keep(CivilTime time) {
        last_ = time;
        ++number_;
        if (time >= from_ && time <= to_) {
            found_.push_back(time);
        }
        finished_ = finished_ || (rule_.count && number_ >= *rule_.count);
    }

    const RecurrenceRule& rule_;
    CivilTime from_;
    CivilTime to_;
    WorkBudget& budget_;
    CivilTime last_;
    std::vector<CivilTime> found_;
    std::int64_t number_ = 0;
    bool finished_ = false;
};

class Expansion {
public:
    Expansion(const RecurrenceRule& rule, CivilTime start, CivilTime from, CivilTime to,
              WorkBudget& budget)
        : rule_{rule},
          start_{start},
          from_{std::max(from, start)},
          to_{to},
          budget_{budget},
          selection_{rule, start, from, to, budget},
          days_{rule, dayOf(start)} {}

    std::vector<CivilTime> run() {
        findTimes();
        switch (rule_.frequency) {
        case Frequency::yearly:
            expandYears();
            break;
        case Frequency::monthly:
            expandMonths();
            break;
        case Frequency::weekly:
            expandWeeks();
            break;
        case Frequency::daily:
            expandDays();
            break;
        case Frequency::hourly:
            expandWithinDays(hours{1});
            break;
        case Frequency::minutely:
            expandWithinDays(minutes{1});
            break;
        case Frequency::secondly:
            expandWithinDays(seconds{1});
            break;
        }
        return selection_.take();
    }

private:
    /// Finds the times within a day, or within an hour or a minute if the rule repeats that often.
    void findTimes() {
        const std::chrono::hh_mm_ss shown{start_ - dayOf(start_)};
        const auto none = std::vector<int>{0};
        const bool byDay = rule_.frequency >= Frequency::daily;
        const auto hourList = byDay ? listOr(rule_.hours, shown.hours().count()) : none;
        const auto minuteList = rule_.frequency >= Frequency::hourly
                                    ? listOr(rule_.minutes, shown.minutes().count())
                                    : none;
        const auto secondList = rule_.frequency >= Frequency::minutely
                                    ? listOr(rule_.seconds, shown.seconds().count())
                                    : none;
        for (const int hour : hourList) {
            for (const int minute : minuteList) {
                for (const int second : secondList) {
                    if (!budget_.spend()) {
                        return;
                    }
                    times_.push_back(hours{hour} + minutes{minute} + seconds{second});
                }
            }
        }
        std::ranges::sort(times_);
        times_.erase(std::ranges::unique(times_).begin(), times_.end());
    }

    /// Returns the index of the first period to expand if the range begins `distance` periods after
    /// the start. A COUNT is counted from the start.
    [[nodiscard]] std::int64_t firstPeriod(std::int64_t distance) const {
        return rule_.count ? 0 : std::max<std::int64_t>(0, distance / rule_.interval - 1);
    }

    /// Spends a step on the next period. Returns whether there is one to expand.
    [[nodiscard]] bool takeStep() { return !selection_.finished() && budget_.spend(); }

    /// Selects the times of one period: all times on all its days, or those that BYSETPOS picks.
    void addPeriod(const std::vector<CivilTime>& bases) {
        if (rule_.positions.empty()) {
            for (const CivilTime base : bases) {
                for (const seconds time : times_) {
                    selection_.add(base + time);
                    if (selection_.finished()) {
                        return;
                    }
                }
            }
            return;
        }
        const auto count = static_cast<std::int64_t>(bases.size() * times_.size());
        std::vector<std::int64_t> indices;
        for (const int position : rule_.positions) {
            const std::int64_t index = position > 0 ? position - 1 : count + position;
            if (index >= 0 && index < count) {
                indices.push_back(index);
            }
        }
        std::ranges::sort(indices);
        indices.erase(std::ranges::unique(indices).begin(), indices.end());
        for (const std::int64_t chosen : indices) {
            const auto index = static_cast<std::size_t>(chosen);
            selection_.add(bases[index / times_.size()] + times_[index % times_.size()]);
        }
    }

    void addDays(const std::vector<CivilDay>& found) {
        addPeriod(std::vector<CivilTime>(found.begin(), found.end()));
    }

    void expandYears() {
        const auto yearOf = [](CivilTime time) { return int{year_month_day{dayOf(time)}.year()}; };
        const int first = yearOf(start_);
        const int last = yearOf(to_) + 1; // a year's numbered weeks can begin in the year before
        for (std::int64_t index = firstPeriod(yearOf(from_) - first); takeStep(); ++index) {
            const std::int64_t number = first + index * rule_.interval;
            if (number > last) {
                return;
            }
            addDays(days_.ofYear(year{static_cast<int>(number)}, budget_));
        }
    }

    void expandMonths() {
        const auto monthOf = [](CivilTime time) {
            const year_month_day date{dayOf(time)};
            return std::int64_t{int{date.year()}} * 12 + unsigned{date.month()} - 1;
        };
        const std::int64_t first = monthOf(start_);
        for (std::int64_t index = firstPeriod(monthOf(from_) - first); takeStep(); ++index) {
            const std::int64_t number = first + index * rule_.interval;
            if (number > monthOf(to_)) {
                return;
            }
            addDays(days_.ofMonth(year{static_cast<int>(number / 12)} /
                                      std::chrono::month{static_cast<unsigned>(number % 12) + 1},
                                  budget_));
        }
    }

    void expandWeeks() {
        const auto weekOf = [&](CivilTime time) {
            return startOfWeek(dayOf(time), rule_.weekStart);
        };
        const CivilDay first = weekOf(start_);
        const std::chrono::weeks stride{rule_.interval};
        for (auto index = firstPeriod((weekOf(from_) - first) / std::chrono::weeks{1}); takeStep();
             ++index) {
            const CivilDay week = first + index * stride;
            if (week > to_) {
                return;
            }
            addDays(days_.ofWeek(week, budget_));
        }
    }

    void expandDays() {
        const CivilDay first = dayOf(start_);
        for (auto index = firstPeriod((dayOf(from_) - first).count()); takeStep(); ++index) {
            const CivilDay day = first + days{index * rule_.interval};
            if (day > to_) {
                return;
            }
            if (days_.matches(day)) {
                addPeriod({day});
            }
        }
    }

    /// Expands by hours, minutes or seconds. If a whole month, day, hour or minute does not match,
    /// skips straight to its end.
    void expandWithinDays(seconds unit) {
        const CivilTime first = start_ - (start_ - dayOf(start_)) % unit;
        const seconds stride = unit * rule_.interval;
        std::int64_t index = firstPeriod((from_ - first) / unit);
        while (takeStep()) {
            const CivilTime time = first + index * stride;
            if (time > to_) {
                return;
            }
            const CivilTime next = endOfMismatch(time);
            if (next == time) {
                addPeriod({time});
                ++index;
            } else {
                index = std::max(index + 1, (next - first + stride - seconds{1}) / stride);
            }
        }
    }

    /// Returns the end of the longest unit around `time` that the rule does not allow, or `time`
    /// itself if it allows all of them.
    [[nodiscard]] CivilTime endOfMismatch(CivilTime time) const {
        const CivilDay day = dayOf(time);
        const year_month_day date{day};
        if (!days_.matchesMonth(date.month())) {
            return CivilDay{(date.year() / date.month() + std::chrono::months{1}) / 1};
        }
        if (!days_.matches(day)) {
            return day + days{1};
        }
        const std::chrono::hh_mm_ss shown{time - day};
        if (!allows(rule_.hours, shown.hours().count())) {
            return day + shown.hours() + hours{1};
        }
        if (rule_.frequency <= Frequency::minutely &&
            !allows(rule_.minutes, shown.minutes().count())) {
            return day + shown.hours() + shown.minutes() + minutes{1};
        }
        if (rule_.frequency == Frequency::secondly &&
            !allows(rule_.seconds, shown.seconds().count())) {
            return time + seconds{1};
        }
        return time;
    }

    const RecurrenceRule& rule_;
    CivilTime start_;
    CivilTime from_;
    CivilTime to_;
    WorkBudget& budget_;
    Selection selection_;
    RecurrenceDays days_;
    std::vector<seconds> times_;
};

} // namespace

std::vector<CivilTime> recurrences(const RecurrenceRule& rule, CivilTime start, CivilTime from,
                                   CivilTime to, WorkBudget& budget) {
    return Expansion{rule, start, from, to, budget}.run();
}

} // namespace velmiro::local
