#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include <gtest/gtest.h>

// When a single event takes place, and which events are in a range.

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

/// Returns the events of September 2026 from a file with these lines.
Texts september(const std::string& lines) {
    return listedFrom(eventFile(lines + "SUMMARY:e\r\n"), "2026-09-01", "2026-10-01");
}

class LocalEvents : public testing::Test {
protected:
    ScopedVariable zone_{"TZ", "Europe/Berlin"};
};

TEST_F(LocalEvents, AnAllDayEventEndsAtTheMidnightAfterItsLastDay) {
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20260909\r\nDTEND;VALUE=DATE:20260911\r\n"),
              (Texts{"2026-09-09T00:00:00+02:00..2026-09-11T00:00:00+02:00 e"}));
}

TEST_F(LocalEvents, AnAllDayEventIsNotInTheRangeOfTheDayAfter) {
    const auto file = eventFile("DTSTART;VALUE=DATE:20260909\r\n");
    EXPECT_EQ(listedFrom(file, "2026-09-09", "2026-09-10").size(), 1U);
    EXPECT_EQ(listedFrom(file, "2026-09-10", "2026-09-11").size(), 0U);
    EXPECT_EQ(listedFrom(file, "2026-09-08", "2026-09-09").size(), 0U);
}

TEST_F(LocalEvents, AnAllDayEventWithoutEndLastsItsDay) {
    const Texts oneDay{"2026-09-09T00:00:00+02:00..2026-09-10T00:00:00+02:00 e"};
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20260909\r\n"), oneDay);
    EXPECT_EQ(september("DTSTART:20260909\r\n"), oneDay);
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20260909\r\nDTEND;VALUE=DATE:20260909\r\n"), oneDay);
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20260909\r\nDTEND;VALUE=DATE:20260901\r\n"), oneDay);
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20260909\r\nDURATION:-P3D\r\n"), oneDay);
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20260909\r\nDURATION:P1D\r\n"), oneDay);
}

TEST_F(LocalEvents, AnAllDayEventOfADayWith25HoursHas25) {
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20261025\r\n"), "2026-10-25", "2026-10-26"),
              (Texts{"2026-10-25T00:00:00+02:00..2026-10-26T00:00:00+01:00 (none)"}));
}

TEST_F(LocalEvents, ATimedEventWithoutEndEndsWhenItStarts) {
    const Texts moment{"2026-09-09T10:00:00+02:00..2026-09-09T10:00:00+02:00 e"};
    EXPECT_EQ(september("DTSTART:20260909T080000Z\r\n"), moment);
    EXPECT_EQ(september("DTSTART:20260909T080000Z\r\nDTEND:20260909T070000Z\r\n"), moment);
    EXPECT_EQ(september("DTSTART:20260909T080000Z\r\nDURATION:-PT1H\r\n"), moment);
    EXPECT_EQ(september("DTSTART:20260909T080000Z\r\nDURATION:PT0S\r\n"), moment);
    EXPECT_EQ(september("DTSTART:20260909T080000Z\r\nDURATION:soon\r\n"), moment);
}

TEST_F(LocalEvents, AMomentBelongsToTheRangeThatItBegins) {
    const auto file = eventFile("DTSTART:20260909T080000Z\r\n");
    EXPECT_EQ(listedFrom(file, "2026-09-09T10:00", "2026-09-09T11:00").size(), 1U);
    EXPECT_EQ(listedFrom(file, "2026-09-09T09:00", "2026-09-09T10:00").size(), 0U);
}

TEST_F(LocalEvents, AnEventThatTouchesTheRangeOnlyIsNotInIt) {
    const auto file = eventFile("DTSTART:20260909T080000Z\r\nDURATION:PT1H\r\n");
    EXPECT_EQ(listedFrom(file, "2026-09-09T11:00", "2026-09-09T12:00").size(), 0U);
    EXPECT_EQ(listedFrom(file, "2026-09-09T10:59:59", "2026-09-09T12:00").size(), 1U);
    EXPECT_EQ(listedFrom(file, "2026-09-09T09:00", "2026-09-09T10:00").size(), 0U);
    EXPECT_EQ(listedFrom(file, "2026-09-09T09:00", "2026-09-09T10:00:01").size(), 1U);
    EXPECT_EQ(listedFrom(file, "2026-09-09T10:20", "2026-09-09T10:30").size(), 1U);
}

TEST_F(LocalEvents, AnEventOfManyYearsIsInARangeInItsMiddle) {
    EXPECT_EQ(september("DTSTART:20000101T000000Z\r\nDTEND:20500101T000000Z\r\n").size(), 1U);
    EXPECT_EQ(september("DTSTART:20000101T000000Z\r\nDURATION:P2000W\r\n").size(), 1U);
    EXPECT_EQ(september("DTSTART;VALUE=DATE:20000101\r\nRRULE:FREQ=YEARLY;COUNT=2\r\n"
                        "DTEND;VALUE=DATE:20260910\r\n")
                  .size(),
              2U);
}

TEST_F(LocalEvents, AFloatingTimeIsTheUsersWhereverTheUserIs) {
    const auto file = eventFile("DTSTART:20260909T100000\r\nDTEND:20260909T110000\r\n");
    EXPECT_EQ(listedFrom(file, "2026-09-09", "2026-09-10"),
              (Texts{"2026-09-09T10:00:00+02:00..2026-09-09T11:00:00+02:00 (none)"}));
    const ScopedVariable apia{"TZ", "Pacific/Apia"};
    EXPECT_EQ(listedFrom(file, "2026-09-09", "2026-09-10"),
              (Texts{"2026-09-09T10:00:00+13:00..2026-09-09T11:00:00+13:00 (none)"}));
}

TEST_F(LocalEvents, ADayThatBeginsAtOneBeginsAtOne) {
    const ScopedVariable cairo{"TZ", "Africa/Cairo"}; // the clocks go from 0 to 1 on 24 April 2026
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20260424\r\n"), "2026-04-24", "2026-04-25"),
              (Texts{"2026-04-24T01:00:00+03:00..2026-04-25T00:00:00+03:00 (none)"}));
}

TEST_F(LocalEvents, ADaySkippedByItsZoneHasNoLength) {
    const ScopedVariable apia{"TZ", "Pacific/Apia"}; // 30 December 2011 did not take place there
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20111230\r\n"), "2011-12-29", "2012-01-01"),
              (Texts{"2011-12-31T00:00:00+14:00..2011-12-31T00:00:00+14:00 (none)"}));
}

TEST_F(LocalEvents, ADurationOfDaysEndsAtTheSameTimeAlsoWhenTheClocksChange) {
    EXPECT_EQ(
        listedFrom(eventFile("DTSTART;TZID=Europe/Berlin:20261024T200000\r\nDURATION:P1D\r\n"),
                   "2026-10-24", "2026-10-25"),
        (Texts{"2026-10-24T20:00:00+02:00..2026-10-25T20:00:00+01:00 (none)"}));
    EXPECT_EQ(
        listedFrom(eventFile("DTSTART;TZID=Europe/Berlin:20261024T200000\r\nDURATION:PT24H\r\n"),
                   "2026-10-24", "2026-10-25"),
        (Texts{"2026-10-24T20:00:00+02:00..2026-10-25T19:00:00+01:00 (none)"}));
}

TEST_F(LocalEvents, StartAndEndMayBeInDifferentZones) {
    EXPECT_EQ(september("DTSTART;TZID=Europe/Berlin:20260909T100000\r\n"
                        "DTEND;TZID=America/New_York:20260909T130000\r\n"),
              (Texts{"2026-09-09T10:00:00+02:00..2026-09-09T19:00:00+02:00 e"}));
}

TEST_F(LocalEvents, AnEventWithoutReadableStartIsPassedOver) {
    EXPECT_TRUE(september("").empty());
    EXPECT_TRUE(september("DTSTART:tomorrow\r\n").empty());
    EXPECT_TRUE(september("DTSTART:20260931T100000Z\r\n").empty());
    EXPECT_TRUE(september("DTSTART:20260909T250000Z\r\n").empty());
    EXPECT_TRUE(september("DTSTART:20260909T1000\r\n").empty());
}

TEST_F(LocalEvents, TheRecordHoldsWhatTheFileSays) {
    TemporaryHome home;
    home.write("Work", "event.ics",
               eventFile("DTSTART:20260909T080000Z\r\nSUMMARY:A\\, B\\; C\\\\D\r\n"
                         "LOCATION;LANGUAGE=en;ALTREP=\"x:y;z\":Room 1\r\n"
                         "DESCRIPTION:one\\ntwo\\Nthr\r\n ee C:\\Users\r\n"));
    const auto events = openEventDatabase()->events(at("2026-09-01"), at("2026-10-01"), nullptr);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].identifier, "event@example.org");
    EXPECT_EQ(events[0].title, "A, B; C\\D");
    EXPECT_EQ(events[0].location, "Room 1");
    EXPECT_EQ(events[0].notes, "one\ntwo\nthree C:\\Users");
    EXPECT_EQ(events[0].calendar, "Work");
    EXPECT_FALSE(events[0].allDay);
}

TEST_F(LocalEvents, WithoutUIDTheIdentifierComesFromThePathAndStays) {
    TemporaryHome home;
    home.write("Work", "a b.ics",
               "BEGIN:VEVENT\nDTSTART:20260909T080000Z\nEND:VEVENT\n"
               "BEGIN:VEVENT\nUID:\nDTSTART:20260910T080000Z\nEND:VEVENT\n");
    const auto database = openEventDatabase();
    for (int reading = 0; reading < 2; ++reading) {
        const auto events = database->events(at("2026-09-01"), at("2026-10-01"), nullptr);
        ASSERT_EQ(events.size(), 2U);
        EXPECT_EQ(events[0].identifier, "Work/a b.ics");
        EXPECT_EQ(events[1].identifier, "Work/a b.ics#2");
    }
}

TEST_F(LocalEvents, OnlyTheNamedCalendarIsAsked) {
    TemporaryHome home;
    home.write("A", "a.ics", eventFile("DTSTART:20260909T080000Z\r\nSUMMARY:a\r\n"));
    home.write("B", "b.ics", eventFile("DTSTART:20260909T080000Z\r\nSUMMARY:b\r\n"));
    const auto database = openEventDatabase();
    const auto calendars = database->calendars(EntityType::event);
    ASSERT_EQ(calendars.size(), 2U);
    const auto events = database->events(at("2026-09-01"), at("2026-10-01"), &calendars[1]);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].title, "b");
    const Calendar gone{"Gone", "Gone"};
    EXPECT_TRUE(database->events(at("2026-09-01"), at("2026-10-01"), &gone).empty());
    const Calendar outside{"../Calendars/A", "A"};
    EXPECT_TRUE(database->events(at("2026-09-01"), at("2026-10-01"), &outside).empty());
}

} // namespace
} // namespace velmiro::local
