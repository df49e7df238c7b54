#include "velmiro_mcp/platform/local/Libical.hpp"
#include "velmiro_mcp/platform/local/RecurrenceRule.hpp"
#include "velmiro_mcp/platform/local/RuleText.hpp"
#include "velmiro_mcp/platform/local/Zone.hpp"

#include <gtest/gtest.h>
#include <libical/ical.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>

namespace velmiro::local {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

CivilTime civil(int year, unsigned month, unsigned day, int hour = 0, int minute = 0,
                int second = 0) {
    return CivilDay{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}} +
           hours{hour} + minutes{minute} + seconds{second};
}

std::string shown(CivilTime time) {
    const std::chrono::year_month_day date{dayOf(time)};
    const std::chrono::hh_mm_ss clock{time - dayOf(time)};
    std::array<char, 64> text{};
    std::snprintf(
        text.data(), text.size(), "%04d%02u%02uT%02d%02d%02d", int{date.year()},
        unsigned{date.month()}, unsigned{date.day()}, static_cast<int>(clock.hours().count()),
        static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return text.data();
}

RecurrenceRule ruleOf(const std::string& text) {
    const auto rule = readRule(text);
    EXPECT_TRUE(rule) << text;
    return rule.value_or(RecurrenceRule{});
}

std::vector<std::string> times(const std::string& rule, CivilTime start, CivilTime from,
                               CivilTime to) {
    WorkBudget budget{10'000'000};
    std::vector<std::string> texts;
    for (const CivilTime time : recurrences(ruleOf(rule), start, from, to, budget)) {
        texts.push_back(shown(time));
    }
    EXPECT_FALSE(budget.exhausted()) << rule;
    return texts;
}

std::vector<std::string> timesOfLibrary(const std::string& rule, CivilTime start, CivilTime to) {
    std::vector<std::string> texts{shown(start)};
    icalrecur_iterator* const iterator = icalrecur_iterator_new(
        icalrecurrencetype_from_string(rule.c_str()), icaltime_from_string(shown(start).c_str()));
    if (iterator == nullptr) {
        return texts;
    }
    for (auto next = icalrecur_iterator_next(iterator); icaltime_is_null_time(next) == 0;
         next = icalrecur_iterator_next(iterator)) {
        const CivilTime time =
            civil(next.year, static_cast<unsigned>(next.month), static_cast<unsigned>(next.day),
                  next.hour, next.minute, next.second);
        if (time > to) {
            break;
        }
        if (time > start) {
            texts.push_back(shown(time));
        }
    }
    icalrecur_iterator_free(iterator);
    return texts;
}

/// Rules that calendar programs write and some that they do not, but none that hardly ever match.
/// Left out is what libical 3.0.16 gets wrong: BYSETPOS but for weekdays of a month (among several
/// times of one day it counts days), every second week and the like with other times than the
/// start's, and BYHOUR in rules of minutes or seconds with an interval.
class RuleMaker {
public:
    explicit RuleMaker(unsigned seed) : random_{seed} {}

    int number(int lowest, int highest) {
        return std::uniform_int_distribution{lowest, highest}(random_);
    }

    bool perhaps(int oneIn) { return number(1, oneIn) == 1; }

    std::string rule() {
        switch (number(0, 6)) {
        case 0:
            return "FREQ=YEARLY" + interval(3) + yearly() + times();
        case 1:
            return "FREQ=MONTHLY" + interval(5) + monthly();
        case 2:
            return "FREQ=WEEKLY" + (perhaps(2) ? times() : interval(4)) + weekStart() +
                   (perhaps(2) ? ";BYDAY=" + days(false) : "") + months();
        case 3:
            return "FREQ=DAILY" + interval(9) + (perhaps(3) ? ";BYDAY=" + days(false) : "") +
                   (perhaps(4) ? ";BYMONTHDAY=" + numbers(1, 28, 12) : "") + months() + times();
        case 4:
            return "FREQ=HOURLY" + interval(30) + (perhaps(2) ? ";BYDAY=" + days(false) : "") +
                   months() + (perhaps(3) ? ";BYMINUTE=" + numbers(0, 59, 3) : "");
        case 5:
            return "FREQ=MINUTELY;INTERVAL=" + std::to_string(number(50, 3000)) + months();
        default:
            return "FREQ=SECONDLY;INTERVAL=" + std::to_string(number(3000, 30'000)) + months();
        }
    }

private:
    std::string interval(int highest) {
        return perhaps(2) ? ";INTERVAL=" + std::to_string(number(1, highest)) : "";
    }

    std::string numbers(int lowest, int highest, int most) {
        std::vector<int> list;
        for (int count = number(1, most); count > 0; --count) {
            const int value = number(lowest, highest);
            if (std::ranges::find(list, value) == list.end() && (value != 0 || lowest == 0)) {
                list.push_back(value);
            }
        }
        if (list.empty()) {
            list.push_back(1);
        }
        std::ranges::sort(list);
        std::string text;
        for (const int value : list) {
            text += (text.empty() ? "" : ",") + std::to_string(value);
        }
        return text;
    }

    std::string days(bool ordinals) {
        static constexpr std::array names{"MO", "TU", "WE", "TH", "FR", "SA", "SU"};
        std::string text;
        for (const char* name : names) {
            if (perhaps(3)) {
                const int ordinal = number(-4, 4);
                const bool counted = ordinals && ordinal != 0;
                text += (text.empty() ? "" : ",") + (counted ? std::to_string(ordinal) : "") + name;
            }
        }
        return text.empty() ? "WE" : text;
    }

    std::string months() { return perhaps(4) ? ";BYMONTH=" + numbers(1, 12, 6) : ""; }
    std::string weekStart() { return perhaps(3) ? ";WKST=SU" : ""; }

    std::string times() {
        return (perhaps(5) ? ";BYHOUR=" + numbers(0, 23, 3) : "") +
               (perhaps(6) ? ";BYMINUTE=" + numbers(0, 59, 3) : "") +
               (perhaps(9) ? ";BYSECOND=" + numbers(0, 59, 2) : "");
    }

    std::string timesOrPosition() {
        return perhaps(4) ? ";BYSETPOS=" + (perhaps(2) ? "-1" : std::to_string(number(1, 3)))
                          : times();
    }

    std::string monthly() {
        switch (number(0, 3)) {
        case 0:
            return times();
        case 1:
            return ";BYDAY=" + days(true) + months() + timesOrPosition();
        case 2:
            return ";BYMONTHDAY=" + numbers(-28, 28, 4) + months() + times();
        default:
            return ";BYDAY=" + days(false) + ";BYMONTHDAY=" + numbers(1, 28, 9) + times();
        }
    }

    std::string yearly() {
        switch (number(0, 4)) {
        case 0:
            return "";
        case 1:
            return ";BYMONTH=" + numbers(1, 12, 3) + ";BYDAY=" + days(true);
        case 2:
            return ";BYMONTH=" + numbers(1, 12, 3) + ";BYMONTHDAY=" + numbers(-28, 28, 3);
        case 3:
            return ";BYYEARDAY=" + numbers(-365, 365, 5);
        default:
            return ";BYDAY=" + days(true);
        }
    }

    std::mt19937 random_;
};

CivilTime startOf(RuleMaker& make) {
    return civil(make.number(1995, 2026), static_cast<unsigned>(make.number(1, 12)),
                 static_cast<unsigned>(make.number(1, 28)), make.number(0, 23), make.number(0, 59),
                 make.number(0, 59));
}

TEST(Recurrence, FindsTheTimesThatTheLibraryFinds) {
    RuleMaker make{20'261'014};
    for (int round = 0; round < 1000; ++round) {
        const std::string rule = make.rule();
        const CivilTime start = startOf(make);
        const CivilTime to =
            start + std::chrono::days{rule.starts_with("FREQ=YEARLY") ? 2000 : 300};
        ASSERT_EQ(times(rule, start, start, to), timesOfLibrary(rule, start, to))
            << rule << " from " << shown(start);
    }
}

TEST(Recurrence, FindsTheSameTimesWhenItBeginsLate) {
    RuleMaker make{7};
    for (int round = 0; round < 3000; ++round) {
        const std::string rule = make.rule();
        const CivilTime start = startOf(make);
        const CivilTime from = start + hours{make.number(0, 400 * 24)};
        const CivilTime to = from + hours{make.number(0, 62 * 24)};
        auto plain = times(rule, start, start, to);
        std::erase_if(plain, [&](const std::string& time) { return time < shown(from); });
        ASSERT_EQ(times(rule, start, from, to), plain)
            << rule << " from " << shown(start) << " asked from " << shown(from);
    }
}

const CivilTime start2026 = civil(2026, 9, 1, 9);
const CivilTime farAway = civil(2200, 1, 1);

TEST(Recurrence, TheStartIsTheFirstTimeAndCounts) {
    // The first of September 2026 is a Tuesday.
    EXPECT_EQ(times("FREQ=WEEKLY;BYDAY=FR;COUNT=3", start2026, start2026, farAway),
              (std::vector<std::string>{"20260901T090000", "20260904T090000", "20260911T090000"}));
    EXPECT_EQ(times("FREQ=DAILY;COUNT=1", start2026, start2026, farAway).size(), 1U);
}

TEST(Recurrence, ACountIsCountedFromTheStartAlsoWhenAskedLate) {
    EXPECT_EQ(times("FREQ=DAILY;COUNT=5", start2026, civil(2026, 9, 4), farAway),
              (std::vector<std::string>{"20260904T090000", "20260905T090000"}));
}

TEST(Recurrence, PositionsCountTheTimesOfAPeriodNotItsDays) {
    EXPECT_EQ(times("FREQ=DAILY;BYHOUR=8,12,18;BYSETPOS=-1,1;COUNT=4", civil(2026, 9, 1, 8),
                    start2026 - hours{9}, farAway),
              (std::vector<std::string>{"20260901T080000", "20260901T180000", "20260902T080000",
                                        "20260902T180000"}));
    EXPECT_EQ(times("FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1;COUNT=3", start2026, start2026,
                    farAway),
              (std::vector<std::string>{"20260901T090000", "20260930T090000", "20261030T090000"}));
}

TEST(Recurrence, PositionsCountAcrossTheMonthsOfAYear) {
    EXPECT_EQ(times("FREQ=YEARLY;BYMONTH=3,8,9;BYMONTHDAY=-16,16;BYSETPOS=-1;COUNT=3",
                    civil(2003, 11, 8), civil(2003, 11, 9), farAway),
              (std::vector<std::string>{"20040916T000000", "20050916T000000"}));
}

TEST(Recurrence, AnHourListLimitsARuleOfMinutesWithAnInterval) {
    EXPECT_EQ(
        times("FREQ=MINUTELY;INTERVAL=90;BYHOUR=10,12;COUNT=4", start2026, start2026, farAway),
        (std::vector<std::string>{"20260901T090000", "20260901T103000", "20260901T120000",
                                  "20260902T103000"}));
}

TEST(Recurrence, EverySecondWeekBeginsInTheWeekOfTheStart) {
    // Monday the 23rd and Sunday the 29th are one week when weeks begin on Monday.
    const CivilTime monday = civil(2004, 8, 23, 11);
    EXPECT_EQ(times("FREQ=WEEKLY;INTERVAL=2;BYDAY=SU;COUNT=3", monday, monday, farAway),
              (std::vector<std::string>{"20040823T110000", "20040829T110000", "20040912T110000"}));
    EXPECT_EQ(times("FREQ=WEEKLY;INTERVAL=2;BYDAY=SU;WKST=SU;COUNT=3", monday, monday, farAway),
              (std::vector<std::string>{"20040823T110000", "20040905T110000", "20040919T110000"}));
}

TEST(Recurrence, NumberedWeeksReachIntoTheYearsBeside) {
    EXPECT_EQ(times("FREQ=YEARLY;BYWEEKNO=1;BYDAY=MO", civil(2012, 1, 2), civil(2012, 1, 2),
                    civil(2014, 12, 31)),
              (std::vector<std::string>{"20120102T000000", "20121231T000000", "20131230T000000",
                                        "20141229T000000"}));
    EXPECT_EQ(times("FREQ=YEARLY;BYWEEKNO=-1;BYDAY=FR", civil(2020, 12, 4), civil(2020, 12, 5),
                    civil(2022, 1, 1)),
              (std::vector<std::string>{"20210101T000000", "20211231T000000"}));
}

TEST(Recurrence, ALeapDayComesInLeapYearsOnly) {
    EXPECT_EQ(times("FREQ=YEARLY", civil(2024, 2, 29), civil(2024, 3, 1), civil(2033, 1, 1)),
              (std::vector<std::string>{"20280229T000000", "20320229T000000"}));
}

/// The same with SKIP, which only the rules of RFC 7529 have.
TEST(Recurrence, FindsTheTimesThatTheLibraryFindsWhenDaysAreSkipped) {
    RuleMaker make{7529};
    for (int round = 0; round < 300; ++round) {
        const std::string days = ";BYMONTHDAY=" + std::to_string(make.number(28, 31));
        const std::string rule =
            "RSCALE=GREGORIAN;SKIP=" + std::string{make.perhaps(2) ? "BACKWARD" : "FORWARD"} +
            (make.perhaps(2) ? ";FREQ=MONTHLY" : ";FREQ=YEARLY;BYMONTH=2,3,4,9,12") +
            (make.perhaps(2) ? ";INTERVAL=" + std::to_string(make.number(1, 5)) : "") + days;
        const CivilTime start = startOf(make);
        const CivilTime to = start + std::chrono::days{3000};
        ASSERT_EQ(times(rule, start, start, to), timesOfLibrary(rule, start, to))
            << rule << " from " << shown(start);
    }
}

TEST(Recurrence, ADayThatAMonthDoesNotHaveIsSkippedInTheWayOfTheRule) {
    const CivilTime last = civil(2026, 1, 31, 9);
    const auto fourFrom = [&](const std::string& skip) {
        return times("RSCALE=GREGORIAN;FREQ=MONTHLY;COUNT=4" + skip, last, last, farAway);
    };
    EXPECT_EQ(fourFrom(""), (std::vector<std::string>{"20260131T090000", "20260331T090000",
                                                      "20260531T090000", "20260731T090000"}));
    EXPECT_EQ(fourFrom(";SKIP=BACKWARD"),
              (std::vector<std::string>{"20260131T090000", "20260228T090000", "20260331T090000",
                                        "20260430T090000"}));
    EXPECT_EQ(fourFrom(";SKIP=FORWARD"),
              (std::vector<std::string>{"20260131T090000", "20260301T090000", "20260331T090000",
                                        "20260501T090000"}));
    const CivilTime leapDay = civil(2024, 2, 29);
    EXPECT_EQ(times("RSCALE=GREGORIAN;FREQ=YEARLY;SKIP=FORWARD;COUNT=3", leapDay, leapDay, farAway),
              (std::vector<std::string>{"20240229T000000", "20250301T000000", "20260301T000000"}));
}

TEST(Recurrence, ADaySkippedToIsNotASecondTimeThere) {
    const CivilTime first = civil(2026, 4, 1);
    EXPECT_EQ(times("FREQ=MONTHLY;BYMONTHDAY=1,31;SKIP=FORWARD;COUNT=4", first, first, farAway),
              (std::vector<std::string>{"20260401T000000", "20260501T000000", "20260531T000000",
                                        "20260601T000000"}));
    EXPECT_EQ(times("FREQ=YEARLY;BYMONTH=4,5;BYMONTHDAY=1,31;SKIP=FORWARD;COUNT=4", first, first,
                    farAway),
              (std::vector<std::string>{"20260401T000000", "20260501T000000", "20260531T000000",
                                        "20270401T000000"}));
}

TEST(Recurrence, DurationsHaveNominalDaysAndExactTime) {
    const NominalDuration week = readDuration("P1W").value_or(NominalDuration{});
    EXPECT_EQ(week.days, std::chrono::days{7});
    const NominalDuration mixed = readDuration("-P1DT2H30M").value_or(NominalDuration{});
    EXPECT_EQ(mixed.days, std::chrono::days{-1});
    EXPECT_EQ(mixed.time, -minutes{150});
    EXPECT_FALSE(readDuration("an hour"));
    EXPECT_FALSE(readDuration("P999999999W"));
}

} // namespace
} // namespace velmiro::local
