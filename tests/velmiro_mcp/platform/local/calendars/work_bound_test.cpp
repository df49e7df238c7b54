#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"

#include <gtest/gtest.h>

#include <string>

// The cost of a file is asserted in steps: a time would depend on the machine, and prove nothing
// about a search that never ends.

namespace velmiro::local {
namespace {

struct Outcome {
    std::uint64_t steps = 0;
    std::vector<Occurrence> found;
    std::shared_ptr<std::vector<StoredEvent>> events;
};

Outcome expand(const std::string& file, std::string_view start = "2026-09-01",
               std::string_view end = "2026-11-02") {
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    ZoneCatalogue zones;
    UserClock clock;
    Outcome outcome;
    CalendarFile read = readCalendarFile(file, "file.ics", zones);
    outcome.events = std::make_shared<std::vector<StoredEvent>>(std::move(read.events));
    WorkBudget budget{stepsOfFile(outcome.events->size())};
    outcome.found = occurrences(*outcome.events, {at(start), at(end)}, clock, budget);
    outcome.steps = read.steps + budget.spent();
    return outcome;
}

std::string ruleFile(const std::string& rule, const std::string& start = "20200101T100000") {
    return eventFile("DTSTART:" + start + "\r\nRRULE:" + rule + "\r\nSUMMARY:rule\r\n");
}

TEST(WorkBound, AHugeCountOfSecondsIsCutOff) {
    const auto outcome = expand(ruleFile("FREQ=SECONDLY;COUNT=100000000"));
    EXPECT_LE(outcome.steps, stepsOfSeries);
    EXPECT_GE(outcome.steps, stepsOfSeries - 1); // they are counted
}

TEST(WorkBound, EndlessSecondsAreCutOff) {
    EXPECT_LE(expand(ruleFile("FREQ=SECONDLY")).steps, stepsOfSeries);
}

TEST(WorkBound, EveryMinuteOfAMonthIsNotCutOff) {
    EXPECT_EQ(expand(ruleFile("FREQ=MINUTELY"), "2026-09-01", "2026-10-01").found.size(),
              30U * 24 * 60);
}

TEST(WorkBound, RulesThatNeverMatchEndAfterTheRange) {
    for (const std::string frequency :
         {"SECONDLY", "MINUTELY", "HOURLY", "DAILY", "WEEKLY", "MONTHLY", "YEARLY"}) {
        const auto outcome = expand(ruleFile("FREQ=" + frequency + ";BYMONTH=2;BYMONTHDAY=30"));
        EXPECT_TRUE(outcome.found.empty()) << frequency;
        EXPECT_LE(outcome.steps, 1000U) << frequency;
        EXPECT_GE(outcome.steps, 2U) << frequency;
    }
}

TEST(WorkBound, RulesThatNeverMatchAndCountEndAfterTheRangeToo) {
    for (const std::string frequency :
         {"SECONDLY", "MINUTELY", "HOURLY", "DAILY", "WEEKLY", "MONTHLY", "YEARLY"}) {
        const auto outcome =
            expand(ruleFile("FREQ=" + frequency + ";COUNT=9;BYMONTH=2;BYMONTHDAY=30"));
        EXPECT_TRUE(outcome.found.empty()) << frequency;
        EXPECT_LE(outcome.steps, 10'000U) << frequency;
        EXPECT_GE(outcome.steps, 7U) << frequency; // at least one a year from 2020 on
    }
}

TEST(WorkBound, RulesThatHardlyEverMatchAreBoundedOverTenThousandYears) {
    for (const std::string rule :
         {"FREQ=SECONDLY;BYYEARDAY=366;BYMONTH=6", "FREQ=SECONDLY;BYHOUR=23;BYMINUTE=59;BYSECOND=7",
          "FREQ=MINUTELY;INTERVAL=2;BYMINUTE=1", "FREQ=HOURLY;INTERVAL=24;BYHOUR=3",
          "FREQ=DAILY;BYMONTH=1;BYYEARDAY=300", "FREQ=YEARLY;BYWEEKNO=53;BYMONTH=6",
          "FREQ=YEARLY;BYDAY=53MO;BYMONTH=2", "FREQ=MONTHLY;BYMONTHDAY=31;BYMONTH=2,4,6"}) {
        EXPECT_LE(expand(ruleFile(rule, "00010101T000000"), "0001-01-01", "9999-12-31").steps,
                  stepsOfSeries)
            << rule;
    }
}

TEST(WorkBound, LongListsInARuleAreBounded) {
    std::string sixty = "0";
    for (int number = 1; number < 60; ++number) {
        sixty += "," + std::to_string(number);
    }
    const auto outcome =
        expand(ruleFile("FREQ=YEARLY;BYDAY=MO,TU,WE,TH,FR,SA,SU;BYHOUR=0,1,2,3,4,5,"
                        "6,7,8,9,10,11;BYSETPOS=1,-1;BYMINUTE=" +
                        sixty + ";BYSECOND=" + sixty));
    EXPECT_LE(outcome.steps, stepsOfSeries);
}

TEST(WorkBound, FiftyThousandHostileEventsShareTheFilesBound) {
    constexpr std::size_t count = 50'000;
    std::string file = "BEGIN:VCALENDAR\n";
    for (std::size_t number = 0; number < count; ++number) {
        file += "BEGIN:VEVENT\nUID:" + std::to_string(number) +
                "\nDTSTART:20200101T100000Z\nRRULE:FREQ=SECONDLY;COUNT=100000000\nEND:VEVENT\n";
    }
    file += "END:VCALENDAR\n";
    const auto outcome = expand(file);
    EXPECT_EQ(outcome.events->size(), count);
    EXPECT_LE(outcome.steps, stepsOfFile(count));
}

TEST(WorkBound, AHostileEventDoesNotHideTheOthersOfItsFile) {
    const auto outcome = expand("BEGIN:VCALENDAR\n"
                                "BEGIN:VEVENT\nUID:a\nDTSTART:20200101T100000Z\n"
                                "RRULE:FREQ=SECONDLY;COUNT=100000000\nEND:VEVENT\n"
                                "BEGIN:VEVENT\nUID:b\nDTSTART:19700101T100000Z\n"
                                "RRULE:FREQ=WEEKLY\nSUMMARY:weekly\nEND:VEVENT\n"
                                "END:VCALENDAR\n",
                                "2026-09-01", "2026-09-15");
    ASSERT_EQ(outcome.found.size(), 2U);
    EXPECT_EQ(outcome.found[0].event->title, "weekly");
}

TEST(WorkBound, AWeeklySeriesSince1970IsCompleteAndCheap) {
    const auto outcome = expand(ruleFile("FREQ=WEEKLY", "19700101T100000"));
    EXPECT_EQ(outcome.found.size(), 9U);
    EXPECT_LE(outcome.steps, 200U);
}

TEST(WorkBound, ASeriesThatEndedLongAgoIsCheap) {
    EXPECT_LE(expand(ruleFile("FREQ=DAILY;UNTIL=20200601T000000Z")).steps, 20U);
}

TEST(WorkBound, AZoneThatChangesEverySecondIsCutOff) {
    const auto outcome = expand(
        eventFile("DTSTART;TZID=Mad:20260910T100000\r\n",
                  "BEGIN:VTIMEZONE\r\nTZID:Mad\r\nBEGIN:STANDARD\r\nDTSTART:16010101T000000\r\n"
                  "RRULE:FREQ=SECONDLY\r\nTZOFFSETFROM:+0100\r\nTZOFFSETTO:+0200\r\n"
                  "END:STANDARD\r\nEND:VTIMEZONE\r\n"));
    EXPECT_EQ(outcome.found.size(), 1U);
    EXPECT_LE(outcome.steps, 60'000U);
}

TEST(WorkBound, AnyNumberOfZoneNamesIsBounded) {
    std::string file;
    for (int number = 0; number < 20'000; ++number) {
        file += "BEGIN:VEVENT\nDTSTART;TZID=Nowhere/Town" + std::to_string(number) +
                ":20260910T100000\nEND:VEVENT\n";
    }
    const auto outcome = expand(file);
    EXPECT_EQ(outcome.events->size(), 20'000U);
    EXPECT_LE(outcome.steps, 500'000U + file.size());
    EXPECT_GE(outcome.steps, 500'000U);
}

TEST(WorkBound, ComponentsNestedTooDeepAreNotRead) {
    std::string file;
    for (int level = 0; level < 100'000; ++level) {
        file += "BEGIN:VCALENDAR\n";
    }
    file += "BEGIN:VEVENT\nDTSTART:20260910T100000\nEND:VEVENT\n";
    EXPECT_TRUE(expand(file).found.empty());
}

TEST(WorkBound, ALongNoteIsNotRepeatedWithoutEnd) {
    TemporaryHome home;
    home.write("Work", "event.ics",
               eventFile("DTSTART:20260901T000000Z\r\nRRULE:FREQ=MINUTELY\r\nDESCRIPTION:" +
                         std::string(1 << 20, 'x') + "\r\n"));
    const auto events = openEventDatabase()->events(at("2026-09-01"), at("2026-09-03"), nullptr);
    std::size_t size = 0;
    for (const Event& event : events) {
        size += event.notes.value_or("").size();
    }
    EXPECT_GE(events.size(), 1U);
    EXPECT_LE(size, 66UL << 20);
}

TEST(WorkBound, OfTooManyOccurrencesTheEarliestStay) {
    const ScopedVariable zone{"TZ", "UTC"};
    TemporaryHome home;
    for (const char* name : {"a.ics", "b.ics"}) {
        home.write("Work", name, eventFile("DTSTART:20260901T000000Z\r\nRRULE:FREQ=SECONDLY\r\n"));
    }
    home.write("Work", "c.ics", eventFile("DTSTART:20260901T000000Z\r\nSUMMARY:honest\r\n"));
    const auto texts = listed("2026-09-01", "2026-09-30");
    EXPECT_EQ(texts.size(), 50'000U);
    EXPECT_EQ(texts[2], "2026-09-01T00:00:00Z..2026-09-01T00:00:00Z honest");
}

} // namespace
} // namespace velmiro::local
