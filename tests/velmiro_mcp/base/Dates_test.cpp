#include "velmiro_mcp/base/Dates.hpp"

#include "support/ScopedVariable.hpp"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

using namespace velmiro;
using velmiro::support::ScopedVariable;

namespace {

/// Parses a text in a zone and formats the result there.
std::string read(const char* zone, const char* text) {
    const ScopedVariable variable{"TZ", zone};
    const auto date = parseDate(text);
    return date ? dateText(*date) : "no date";
}

constexpr const char* berlin = "Europe/Berlin";
constexpr const char* cairo = "Africa/Cairo";
constexpr const char* apia = "Pacific/Apia";

} // namespace

TEST(ParseDate, ReadsEveryForm) {
    EXPECT_EQ(read(berlin, "2026-10-14"), "2026-10-14T00:00:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14T15:00"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14T15:00:30"), "2026-10-14T15:00:30+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14 15:00"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14T15:00:00+02:00"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14T13:00:00Z"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14T08:30:00-04:30"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-14T15:00:00.250+02:00"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(read("UTC", "2026-10-14T15:00"), "2026-10-14T15:00:00Z");
}

TEST(ParseDate, KeepsMilliseconds) {
    const auto whole = parseDate("2026-10-14T15:00:00Z");
    const auto fraction = parseDate("2026-10-14T15:00:00.2509Z");
    ASSERT_TRUE(whole && fraction);
    EXPECT_EQ(*fraction - *whole, std::chrono::milliseconds{250});
    EXPECT_EQ(parseDate("2026-10-14T15:00:00.5Z"), *whole + std::chrono::milliseconds{500});
}

TEST(ParseDate, AcceptsFieldsOfOneDigitButOnlyYearsOfFour) {
    EXPECT_EQ(read(berlin, "2026-1-5"), "2026-01-05T00:00:00+01:00");
    EXPECT_EQ(read(berlin, "2026-1-5T9:05"), "2026-01-05T09:05:00+01:00");
    EXPECT_EQ(read(berlin, "2026-1-5T9:5"), "2026-01-05T09:05:00+01:00");
    EXPECT_EQ(read(berlin, "2026-1-5 9:5"), "2026-01-05T09:05:00+01:00");
    EXPECT_EQ(read(berlin, "2026-1-5T9:5:7"), "2026-01-05T09:05:07+01:00");
    EXPECT_EQ(read(berlin, "2026-1-5T9:5:7Z"), "2026-01-05T10:05:07+01:00");
    EXPECT_EQ(read(berlin, "2026-1-5T9:5:7.5Z"), "2026-01-05T10:05:07+01:00");
    EXPECT_EQ(read(berlin, "26-10-14"), "no date");
    EXPECT_EQ(read(berlin, "226-10-14"), "no date");
    EXPECT_EQ(read(berlin, "02026-10-14"), "no date");
}

TEST(ParseDate, RefusesAFieldWithoutDigitsOrWithMoreThanItHas) {
    for (const char* text :
         {"-10-14", "2026--14", "2026-10-", "2026-10-14T:00", "2026-10-14T15:", "2026-10-14T15:00:",
          "2026-10-14T:00:00Z", "2026-10-14T15::00Z", "2026-10-14T15:00:Z", "2026-010-14",
          "2026-10-014", "2026-10-14T015:00", "2026-10-14T15:000", "2026-10-14T15:00:000",
          "2026-10-14T015:00:00Z", "2026-10-14T15:000:00Z", "2026-10-14T15:00:000Z"}) {
        EXPECT_EQ(read(berlin, text), "no date") << text;
    }
}

TEST(ParseDate, ReadsEachFieldUpToItsLastValue) {
    EXPECT_EQ(read("UTC", "2026-12-31T23:59:59Z"), "2026-12-31T23:59:59Z");
    EXPECT_EQ(read("UTC", "2026-12-31T23:59:59"), "2026-12-31T23:59:59Z");
    EXPECT_EQ(read("UTC", "2026-01-01T00:00:00Z"), "2026-01-01T00:00:00Z");
    EXPECT_EQ(read("UTC", "0000-01-01"), "0000-01-01T00:00:00Z");
    EXPECT_EQ(read("UTC", "9999-12-31"), "9999-12-31T00:00:00Z");
}

TEST(ParseDate, ReadsOffsetsOfTwoDigitsEachUpToADay) {
    EXPECT_EQ(read("UTC", "2026-10-14T23:59:00+23:59"), "2026-10-14T00:00:00Z");
    EXPECT_EQ(read("UTC", "2026-10-14T00:00:00-23:59"), "2026-10-14T23:59:00Z");
    EXPECT_EQ(read("UTC", "2026-10-14T15:00:00-00:00"), "2026-10-14T15:00:00Z");
    for (const char* offset : {"+24:00", "+02:60", "+2:00", "+02:0", "+002:00", "+02:000", "+:00",
                               "+02:", "+02", "+", "", "+-2:00", "Z+02:00", "ZZ"}) {
        EXPECT_EQ(read("UTC", ("2026-10-14T15:00:00.0" + std::string{offset}).c_str()), "no date")
            << offset;
    }
}

TEST(ParseDate, RefusesAnythingElse) {
    for (const char* text : {"",
                             "14.10.2026",
                             "2026-02-30",
                             "2026-13-01",
                             "2026-00-10",
                             "2026-10-00",
                             "2026-10-14T24:00",
                             "2026-10-14T24:30",
                             "2026-10-14T15:60",
                             "2026-10-14T15:00:60",
                             "2026-10-14T15",
                             "2026-10",
                             "2026-10-14T15:00Z",
                             "2026-10-14T15:00:00+0200",
                             "2026-10-14T15:00:00+24:00",
                             "2026-10-14T15:00:00 02:00",
                             "2026-10-14T15:00:00*02:00",
                             "2026-10-14T15:00:00,02:00",
                             "2026-10-14T15:00:00.02:00",
                             "2026-10-14T15:00:0002:00",
                             "2026-10-14T15:00:00\u221202:00",
                             "2026-10-14T15:00:00.Z",
                             "2026-10-14T15:00:00.5",
                             "2026-10-14 15:00:00",
                             "2026-10-14x",
                             " 2026-10-14",
                             "2026-10-14T15:00:00z",
                             "tomorrow",
                             "2025-02-29",
                             "2026-10-14T-1:00"}) {
        EXPECT_EQ(read(berlin, text), "no date") << text;
    }
    EXPECT_EQ(read(berlin, "2028-02-29"), "2028-02-29T00:00:00+01:00");
}

TEST(ParseDate, MovesATimeThatTheClockSkipsAcrossTheGap) {
    EXPECT_EQ(read(berlin, "2026-03-29T02:30"), "2026-03-29T03:30:00+02:00");
    EXPECT_EQ(read(berlin, "2026-03-29T01:59:59"), "2026-03-29T01:59:59+01:00");
    EXPECT_EQ(read(berlin, "2026-03-29T03:00"), "2026-03-29T03:00:00+02:00");
}

TEST(ParseDate, TakesTheFirstOfATimeThatOccursTwice) {
    EXPECT_EQ(read(berlin, "2026-10-25T02:30"), "2026-10-25T02:30:00+02:00");
    EXPECT_EQ(read(berlin, "2026-10-25T03:00"), "2026-10-25T03:00:00+01:00");
    EXPECT_EQ(read(cairo, "2026-10-29T23:30"), "2026-10-29T23:30:00+03:00");
}

TEST(ParseDate, ABareDayMeansItsFirstInstantEvenWithoutAMidnight) {
    // Cairo's clock goes from 00:00 to 01:00 on the last Friday of April.
    EXPECT_EQ(read(cairo, "2026-04-24"), "2026-04-24T01:00:00+03:00");
    EXPECT_EQ(read(cairo, "2026-04-23"), "2026-04-23T00:00:00+02:00");
    EXPECT_EQ(read(cairo, "2026-04-25"), "2026-04-25T00:00:00+03:00");
    // Toronto's clock went from 23:30 to 00:30, and the day began at 00:30.
    EXPECT_EQ(read("America/Toronto", "1919-03-31"), "1919-03-31T00:30:00-04:00");
    EXPECT_EQ(read("America/Toronto", "1919-03-30"), "1919-03-30T00:00:00-05:00");
    EXPECT_EQ(read("America/Toronto", "1919-04-01"), "1919-04-01T00:00:00-04:00");
    // Apia skipped the whole of 30 December 2011.
    EXPECT_EQ(read(apia, "2011-12-30"), "2011-12-31T00:00:00+14:00");
    EXPECT_EQ(read(apia, "2011-12-29"), "2011-12-29T00:00:00-10:00");
    EXPECT_EQ(read(apia, "2011-12-31"), "2011-12-31T00:00:00+14:00");
}

TEST(ParseDate, EveryHourOfAYearReadsBackAsItself) {
    for (const char* zone : {berlin, cairo, apia, "America/New_York", "Asia/Kolkata"}) {
        const ScopedVariable variable{"TZ", zone};
        const auto start = *parseDate("2026-01-01");
        for (int hour = 0; hour < 366 * 24; ++hour) {
            const Instant instant = start + std::chrono::hours{hour};
            ASSERT_EQ(parseDate(dateText(instant)), instant) << dateText(instant);
            // Without its offset the text means this instant, or in a fold the one an hour earlier.
            const auto local = parseDate(dateText(instant).substr(0, 19));
            ASSERT_TRUE(local == instant || local == instant - std::chrono::hours{1})
                << zone << dateText(instant);
        }
    }
}

TEST(DateText, WritesOffsetsAndDropsMilliseconds) {
    const ScopedVariable zone{"TZ", "Asia/Kolkata"};
    const auto instant = *parseDate("2026-10-14T13:00:00Z") + std::chrono::milliseconds{999};
    EXPECT_EQ(dateText(instant), "2026-10-14T18:30:00+05:30");
    const ScopedVariable west{"TZ", "America/St_Johns"};
    EXPECT_EQ(dateText(instant), "2026-10-14T10:30:00-02:30");
}

TEST(DateText, NamesTheSameInstantEvenIfTheOffsetHasSeconds) {
    const ScopedVariable zone{"TZ", berlin}; // +00:53:28 until 1893
    const auto instant = *parseDate("1850-01-01T00:00:00Z");
    EXPECT_EQ(parseDate(dateText(instant)), instant);
}

TEST(StartOfToday, IsTheFirstInstantOfTheCurrentDay) {
    const ScopedVariable zone{"TZ", berlin};
    const Instant today = startOfToday();
    const auto now = std::chrono::system_clock::now();
    EXPECT_LE(today, now);
    EXPECT_LT(now - today, std::chrono::hours{25});
    EXPECT_EQ(wallTime(today).hour, 0);
}

TEST(DateText, FollowsAZoneThatChangesWhileTheProgramRuns) {
    const ScopedVariable variable{"TZ", berlin};
    const auto date = parseDate("2026-10-14T15:00:00+02:00");
    ASSERT_TRUE(date);
    EXPECT_EQ(dateText(*date), "2026-10-14T15:00:00+02:00");
    ::setenv("TZ", "UTC", 1); // and nothing tells the C library
    EXPECT_EQ(dateText(*date), "2026-10-14T13:00:00Z");
}

TEST(StartOfDay, IsTheFirstSecondOfADayWhoseMidnightIsSkipped) {
    int skipped = 0;
    for (const char* const zone : {cairo, "Asia/Beirut", "America/Asuncion", "America/Havana"}) {
        const ScopedVariable variable{"TZ", zone};
        for (int year = 1995; year < 2026; ++year) {
            for (int day = 1; day <= 28; ++day) {
                for (const int month : {3, 4, 5, 10}) {
                    const Instant start = startOfDay(year, month, day);
                    const WallTime shown = wallTime(start);
                    ASSERT_EQ(shown.day, day) << zone << ' ' << year << ' ' << month;
                    if (shown.hour + shown.minute + shown.second > 0) {
                        ++skipped;
                        ASSERT_NE(wallTime(start - std::chrono::seconds{1}).day, day)
                            << zone << ' ' << year << ' ' << month;
                    }
                }
            }
        }
    }
    EXPECT_GT(skipped, 50);
}

TEST(StartOfDay, IsExactToTheSecondWhereverAGapBegins) {
    for (const char* const second : {"56", "57", "58", "59"}) {
        // The second Sunday in March: one second or a few before midnight the clock skips an hour.
        const std::string rule = std::string{"AAA0BBB,M3.2.0/23:59:"} + second + ",M11.1.0";
        const ScopedVariable zone{"TZ", rule.c_str()};
        EXPECT_EQ(dateText(startOfDay(2026, 3, 9)),
                  std::string{"2026-03-09T00:59:"} + second + "+01:00");
    }
}

TEST(StartOfDay, IsWhereAGapEndsThatBeganBeforeMidnight) {
    const ScopedVariable zone{"TZ", "America/Toronto"};
    const Instant start = startOfDay(1919, 3, 31);
    EXPECT_EQ(dateText(start), "1919-03-31T00:30:00-04:00");
    EXPECT_EQ(dateText(start - std::chrono::seconds{1}), "1919-03-30T23:29:59-05:00");
}
