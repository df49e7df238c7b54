#include "tests/velmiro_mcp/platform/local/recurrence/RuleMaker.hpp"

#include "velmiro_mcp/platform/local/icalendar/Libical.hpp"
#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"
#include "velmiro_mcp/platform/local/recurrence/RecurrenceRule.hpp"
#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <gtest/gtest.h>
#include <libical/ical.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
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
    const icalrecurrencetype read = icalrecurrencetype_from_string(rule.c_str());
    const std::unique_ptr<char, decltype(&std::free)> calendar{read.rscale, &std::free};
    icalrecur_iterator* const iterator =
        icalrecur_iterator_new(read, icaltime_from_string(shown(start).c_str()));
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

TEST(Recurrence, NumberedWeeksReachIntoTheYearsBeforeAndAfter) {
    EXPECT_EQ(times("FREQ=YEARLY;BYWEEKNO=1;BYDAY=MO", civil(2012, 1, 2), civil(2012, 1, 2),
                    civil(2014, 12, 31)),
              (std::vector<std::string>{"20120102T000000", "20121231T000000", "20131230T000000",
                                        "20141229T000000"}));
    EXPECT_EQ(times("FREQ=YEARLY;BYWEEKNO=-1;BYDAY=FR", civil(2020, 12, 4), civil(2020, 12, 5),
                    civil(2022, 1, 1)),
              (std::vector<std::string>{"20210101T000000", "20211231T000000"}));
}

TEST(Recurrence, ALeapDayOccursInLeapYearsOnly) {
    EXPECT_EQ(times("FREQ=YEARLY", civil(2024, 2, 29), civil(2024, 3, 1), civil(2033, 1, 1)),
              (std::vector<std::string>{"20280229T000000", "20320229T000000"}));
}

/// Compares rules with SKIP too, which only RFC 7529 has.
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

TEST(Recurrence, ADayThatAMonthDoesNotHaveIsSkippedAsTheRuleSays) {
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

TEST(Recurrence, ADayThatReplacesASkippedOneIsNotFoundTwice) {
    const CivilTime april = civil(2026, 4, 29);
    EXPECT_EQ(times("FREQ=MONTHLY;BYMONTHDAY=29,30,31;SKIP=BACKWARD;BYSETPOS=-2;COUNT=2", april,
                    april, farAway),
              (std::vector<std::string>{"20260429T000000", "20260530T000000"}));
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
