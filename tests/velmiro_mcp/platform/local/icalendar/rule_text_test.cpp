#include "velmiro_mcp/platform/local/icalendar/RuleText.hpp"

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <gtest/gtest.h>

#include <string>

// What is read from an RRULE, and how much from a malformed one.

namespace velmiro::local {
namespace {

using std::chrono::Friday;
using std::chrono::Monday;
using Numbers = std::vector<int>;
using Days = std::vector<WeekdayRule>;

RecurrenceRule read(const std::string& text) {
    const auto rule = readRule(text);
    EXPECT_TRUE(rule) << text;
    return rule.value_or(RecurrenceRule{});
}

TEST(RuleText, EveryPartIsRead) {
    const RecurrenceRule rule =
        read("FREQ=YEARLY;INTERVAL=2;COUNT=9;WKST=FR;BYSECOND=0,30;BYMINUTE=15;BYHOUR=8,20;"
             "BYDAY=MO,+2FR,-1FR;BYMONTHDAY=-1,13;BYYEARDAY=-366,1;BYWEEKNO=53,-53;BYMONTH=12,2;"
             "BYSETPOS=-1,3");
    EXPECT_EQ(rule.frequency, Frequency::yearly);
    EXPECT_EQ(rule.interval, 2);
    EXPECT_EQ(rule.count, 9);
    EXPECT_EQ(rule.weekStart, Friday);
    EXPECT_EQ(rule.seconds, (Numbers{0, 30}));
    EXPECT_EQ(rule.minutes, Numbers{15});
    EXPECT_EQ(rule.hours, (Numbers{8, 20}));
    EXPECT_EQ(rule.weekdays, (Days{{Monday, 0}, {Friday, 2}, {Friday, -1}}));
    EXPECT_EQ(rule.monthDays, (Numbers{-1, 13}));
    EXPECT_EQ(rule.yearDays, (Numbers{-366, 1}));
    EXPECT_EQ(rule.weeks, (Numbers{-53, 53}));
    EXPECT_EQ(rule.months, (Numbers{2, 12}));
    EXPECT_EQ(rule.positions, (Numbers{-1, 3}));
}

TEST(RuleText, AnUnknownPartIsSkipped) {
    const RecurrenceRule rule = read("X-FOO=1;FREQ=WEEKLY;BYDAY=MO;BYEASTER=0;=;;X;COUNT=3");
    EXPECT_EQ(rule.frequency, Frequency::weekly);
    EXPECT_EQ(rule.weekdays, (Days{{Monday, 0}}));
    EXPECT_EQ(rule.count, 3);
}

TEST(RuleText, BlanksAndCaseDoNotMatter) {
    const RecurrenceRule rule = read(" freq = daily ; Count=3;\tBYDAY= mo , fr ");
    EXPECT_EQ(rule.frequency, Frequency::daily);
    EXPECT_EQ(rule.count, 3);
    EXPECT_EQ(rule.weekdays, (Days{{Monday, 0}, {Friday, 0}}));
}

TEST(RuleText, AnEmptyPartIsSkipped) {
    const RecurrenceRule rule =
        read("FREQ=MONTHLY;BYDAY=;BYMONTHDAY;INTERVAL=;COUNT=;UNTIL=;WKST=;BYMONTH=,;SKIP=");
    EXPECT_TRUE(rule.weekdays.empty());
    EXPECT_TRUE(rule.monthDays.empty());
    EXPECT_TRUE(rule.months.empty());
    EXPECT_EQ(rule.interval, 1);
    EXPECT_FALSE(rule.count);
    EXPECT_FALSE(rule.until);
    EXPECT_EQ(rule.weekStart, Monday);
}

TEST(RuleText, OfARepeatedPartTheLastReadableOneCounts) {
    const RecurrenceRule rule = read("FREQ=DAILY;COUNT=3;BYDAY=MO;FREQ=WEEKLY;BYDAY=FR;COUNT=x");
    EXPECT_EQ(rule.frequency, Frequency::weekly);
    EXPECT_EQ(rule.weekdays, (Days{{Friday, 0}}));
    EXPECT_EQ(rule.count, 3);
}

TEST(RuleText, NumbersThatTheFormatDoesNotAllowAreSkipped) {
    const RecurrenceRule rule =
        read("FREQ=MONTHLY;BYMONTHDAY=0,32,-32,15,x,1e1,+7;BYMONTH=13,5L,6;BYHOUR=24,-1;"
             "BYSECOND=60;BYDAY=8X,MONDAY,0MO,54FR,FR;INTERVAL=0;COUNT=-5");
    EXPECT_EQ(rule.monthDays, (Numbers{7, 15}));
    EXPECT_EQ(rule.months, Numbers{6});
    EXPECT_TRUE(rule.hours.empty());
    EXPECT_EQ(rule.seconds, Numbers{59}) << "these clocks have no leap seconds";
    EXPECT_EQ(rule.weekdays, (Days{{Monday, 0}, {Friday, 0}}));
    EXPECT_EQ(rule.interval, 1);
    EXPECT_FALSE(rule.count);
}

TEST(RuleText, ATooLargeCountDoesNotWrapAround) {
    EXPECT_EQ(read("FREQ=DAILY;COUNT=4294967297").count, 4'294'967'297);
    EXPECT_EQ(read("FREQ=DAILY;COUNT=99999999999999999999").count, INT64_MAX);
    EXPECT_EQ(read("FREQ=SECONDLY;INTERVAL=86400").interval, 86'400);
    EXPECT_EQ(read("FREQ=DAILY;INTERVAL=99999999999999999999").interval, INT32_MAX);
}

TEST(RuleText, AnEndIsADateATimeInUTCOrATimeOfTheSeries) {
    const CivilTime day = std::chrono::local_days{std::chrono::year{2026} / 12 / 31};
    EXPECT_EQ(read("FREQ=DAILY;UNTIL=20261231").until, (Moment{day, true, nullptr}));
    for (const std::string until :
         {"20261231T100000Z", "20261231t100000z", "2026-12-31T10:00:00Z"}) {
        EXPECT_EQ(read("FREQ=DAILY;UNTIL=" + until).until,
                  (Moment{day + std::chrono::hours{10}, false, Zone::utc()}))
            << until;
    }
    EXPECT_EQ(read("FREQ=DAILY;UNTIL=20261231T100000").until,
              (Moment{day + std::chrono::hours{10}, false, nullptr}));
    EXPECT_FALSE(read("FREQ=DAILY;UNTIL=never").until);
}

TEST(RuleText, WithoutAFrequencyThereIsNoRule) {
    for (const std::string text : {"", "FREQ=FORTNIGHTLY", "BYDAY=MO", "FREQ", "FREQ=", ";;;"}) {
        EXPECT_FALSE(readRule(text)) << text;
    }
}

TEST(RuleText, AnotherCalendarThanTheGregorianIsNotRead) {
    EXPECT_FALSE(readRule("RSCALE=HEBREW;FREQ=YEARLY"));
    EXPECT_FALSE(readRule("FREQ=YEARLY;RSCALE=CHINESE;SKIP=FORWARD"));
    EXPECT_TRUE(readRule("RSCALE=gregorian;FREQ=YEARLY"));
}

TEST(RuleText, ARuleLongerThanAnyIsNotRead) {
    EXPECT_TRUE(readRule("FREQ=DAILY;BYHOUR=" + std::string(10'000, ',')));
    EXPECT_FALSE(readRule("FREQ=DAILY;BYHOUR=" + std::string(1 << 20, ',')));
}

} // namespace
} // namespace velmiro::local
