#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include <gtest/gtest.h>

// Which occurrences a series has: rules, added and removed dates, and overrides.

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

class LocalSeries : public testing::Test {
protected:
    ScopedVariable zone_{"TZ", "Europe/Berlin"};
};

/// Returns a series from 7 September 2026 (a Monday), 10:00 to 11:00 in Berlin, with more lines.
std::string series(const std::string& lines, const std::string& others = "") {
    return "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:s\r\nSUMMARY:series\r\n"
           "DTSTART;TZID=Europe/Berlin:20260907T100000\r\n"
           "DTEND;TZID=Europe/Berlin:20260907T110000\r\n" +
           lines + "END:VEVENT\r\n" + others + "END:VCALENDAR\r\n";
}

std::string change(const std::string& lines) {
    return "BEGIN:VEVENT\r\nUID:s\r\n" + lines + "END:VEVENT\r\n";
}

/// Returns the days of September 2026 on which events begin, with the time if it is not 10:00.
Texts days(const std::string& file, const std::string& end = "2026-10-01") {
    Texts texts;
    for (const std::string& text : listedFrom(file, "2026-09-01", end)) {
        const std::string time = text.substr(11, 5);
        texts.push_back(text.substr(5, 5) + (time == "10:00" ? "" : " " + time));
    }
    return texts;
}

TEST_F(LocalSeries, AMovedOccurrenceReplacesTheOriginal) {
    EXPECT_EQ(days(series("RRULE:FREQ=WEEKLY;COUNT=3\r\n",
                          change("RECURRENCE-ID;TZID=Europe/Berlin:20260914T100000\r\n"
                                 "DTSTART;TZID=Europe/Berlin:20260915T143000\r\n"))),
              (Texts{"09-07", "09-15 14:30", "09-21"}));
}

TEST_F(LocalSeries, AChangeMayPrecedeItsSeriesAndNameItsOccurrenceInUTC) {
    const std::string moved = change("RECURRENCE-ID:20260914T080000Z\r\n"
                                     "DTSTART:20260915T080000Z\r\n");
    const std::string file = series("RRULE:FREQ=WEEKLY;COUNT=3\r\n");
    const auto body = file.find("BEGIN:VEVENT");
    EXPECT_EQ(days(file.substr(0, body) + moved + file.substr(body)),
              (Texts{"09-07", "09-15", "09-21"}));
}

TEST_F(LocalSeries, AnOccurrenceMovedIntoTheRangeIsThereAndOneMovedOutIsNot) {
    EXPECT_EQ(days(series("RRULE:FREQ=MONTHLY;BYMONTHDAY=7\r\n",
                          change("RECURRENCE-ID;TZID=Europe/Berlin:20270107T100000\r\n"
                                 "DTSTART;TZID=Europe/Berlin:20260925T100000\r\n") +
                              change("RECURRENCE-ID;TZID=Europe/Berlin:20260907T100000\r\n"
                                     "DTSTART;TZID=Europe/Berlin:20261207T100000\r\n"))),
              (Texts{"09-25"}));
}

TEST_F(LocalSeries, ACancelledOccurrenceIsNotThere) {
    EXPECT_EQ(days(series("RRULE:FREQ=WEEKLY;COUNT=3\r\n",
                          change("RECURRENCE-ID;TZID=Europe/Berlin:20260914T100000\r\n"
                                 "STATUS:CANCELLED\r\n"
                                 "DTSTART;TZID=Europe/Berlin:20260914T100000\r\n"))),
              (Texts{"09-07", "09-21"}));
}

TEST_F(LocalSeries, ACancellationNeedsNoStart) {
    EXPECT_EQ(days(series("RRULE:FREQ=WEEKLY;COUNT=3\r\n",
                          change("RECURRENCE-ID:20260914T080000Z\r\nSTATUS:CANCELLED\r\n"))),
              (Texts{"09-07", "09-21"}));
}

TEST_F(LocalSeries, ACancellationOfAllThatFollowsEndsTheSeries) {
    EXPECT_EQ(days(series("RRULE:FREQ=WEEKLY\r\n",
                          change("RECURRENCE-ID;RANGE=THISANDFUTURE:20260921T080000Z\r\n"
                                 "STATUS:CANCELLED\r\n"))),
              (Texts{"09-07", "09-14"}));
}

TEST_F(LocalSeries, AChangeOfAllThatFollowsChangesOneOccurrence) {
    EXPECT_EQ(days(series("RRULE:FREQ=WEEKLY;COUNT=4\r\n",
                          change("RECURRENCE-ID;RANGE=THISANDFUTURE:20260914T080000Z\r\n"
                                 "DTSTART;TZID=Europe/Berlin:20260914T120000\r\n"))),
              (Texts{"09-07", "09-14 12:00", "09-21", "09-28"}));
}

TEST_F(LocalSeries, AChangeWithoutItsSeriesIsAnEventOfItsOwn) {
    EXPECT_EQ(days("BEGIN:VCALENDAR\n" +
                   change("RECURRENCE-ID:20260914T080000Z\nDTSTART:20260915T080000Z\n") +
                   "END:VCALENDAR\n"),
              (Texts{"09-15"}));
}

TEST_F(LocalSeries, ACancelledEventThatIsNoChangeIsListed) {
    EXPECT_EQ(days(series("STATUS:CANCELLED\r\n")), (Texts{"09-07"}));
}

TEST_F(LocalSeries, AnAddedDateKeepsItsZone) {
    EXPECT_EQ(days(series("RDATE;TZID=Europe/Berlin:20260910T100000,20260911T120000\r\n"
                          "RDATE:20260912T080000Z\r\n"
                          "RDATE;TZID=America/New_York:20260913T040000\r\n")),
              (Texts{"09-07", "09-10", "09-11 12:00", "09-12", "09-13"}));
}

TEST_F(LocalSeries, AnAddedPeriodHasItsOwnLength) {
    EXPECT_EQ(listedFrom(series("RDATE;VALUE=PERIOD:20260910T080000Z/20260910T083000Z,"
                                "20260911T080000Z/PT2H\r\n"),
                         "2026-09-10", "2026-09-12"),
              (Texts{"2026-09-10T10:00:00+02:00..2026-09-10T10:30:00+02:00 series",
                     "2026-09-11T10:00:00+02:00..2026-09-11T12:00:00+02:00 series"}));
}

TEST_F(LocalSeries, AnAddedDateEqualToTheStartIsNotASecondOccurrence) {
    EXPECT_EQ(
        days(series("RDATE;TZID=Europe/Berlin:20260907T100000\r\nRDATE:20260907T080000Z\r\n")),
        (Texts{"09-07"}));
}

TEST_F(LocalSeries, AnAddedBareDateIsThatDayAtTheUsualTime) {
    EXPECT_EQ(days(series("RDATE;VALUE=DATE:20260910\r\n")), (Texts{"09-07", "09-10"}));
}

TEST_F(LocalSeries, RemovedDatesMayBeInAnyZoneAndInLists) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=6\r\n"
                          "EXDATE;TZID=Europe/Berlin:20260907T100000,20260909T100000\r\n"
                          "EXDATE:20260910T080000Z\r\n")),
              (Texts{"09-08", "09-11", "09-12"}));
}

TEST_F(LocalSeries, ARemovedBareDateRemovesAllOfThatDay) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;BYHOUR=10,15;COUNT=6\r\n"
                          "EXDATE;VALUE=DATE:20260908\r\n")),
              (Texts{"09-07", "09-07 15:00", "09-09", "09-09 15:00"}));
}

TEST_F(LocalSeries, ARemovedTimeAtWhichNoOccurrenceStartsRemovesNothing) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=2\r\nEXDATE:20260908T090000Z\r\n")),
              (Texts{"09-07", "09-08"}));
}

TEST_F(LocalSeries, ATimeWithoutAZoneThatNamesAnOccurrenceIsOnTheClockOfTheSeries) {
    const ScopedVariable elsewhere{"TZ", "America/New_York"};
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=4\r\nEXDATE:20260908T100000\r\n"
                          "RDATE:20260912T100000\r\n",
                          change("RECURRENCE-ID:20260909T100000\r\n"
                                 "DTSTART;TZID=Europe/Berlin:20260920T160000\r\n"))),
              (Texts{"09-07 04:00", "09-10 04:00", "09-12 04:00", "09-20"}));
}

TEST_F(LocalSeries, BlanksAroundDatesDoNotMatter) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY; COUNT=5 \r\n"
                          "EXDATE;TZID=Europe/Berlin: 20260908T100000 , 20260909T100000 \r\n")),
              (Texts{"09-07", "09-10", "09-11"}));
    EXPECT_EQ(days("BEGIN:VEVENT\r\nDTSTART: 20260907T080000Z \r\nEND:VEVENT\r\n"), Texts{"09-07"});
}

TEST_F(LocalSeries, BlanksAroundNamesAndWordsDoNotMatter) {
    EXPECT_EQ(days("BEGIN: VEVENT \r\nDTSTART:20260907T080000Z\r\nEND:VEVENT\t\r\n"),
              Texts{"09-07"});
    EXPECT_EQ(listedFrom(eventFile("DTSTART:20260907T080000Z\r\nDURATION: PT1H \r\n"), "2026-09-01",
                         "2026-10-01"),
              Texts{"2026-09-07T10:00:00+02:00..2026-09-07T11:00:00+02:00 (none)"});
    EXPECT_EQ(listedFrom(eventFile("DTSTART:20260907T080000Z\r\n"
                                   "RDATE;VALUE=PERIOD: 20260908T080000Z / PT1H \r\n"),
                         "2026-09-08", "2026-10-01"),
              Texts{"2026-09-08T10:00:00+02:00..2026-09-08T11:00:00+02:00 (none)"});
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=3\r\n",
                          "BEGIN:VEVENT\r\nUID: s\u00A0\r\nSTATUS: CANCELLED \r\n"
                          "RECURRENCE-ID:20260908T080000Z\r\nEND:VEVENT\r\n")),
              (Texts{"09-07", "09-09"}))
        << "nor around the UID";
}

TEST_F(LocalSeries, AnUnknownPartOfARuleLeavesTheSeries) {
    for (const std::string rule :
         {"FREQ=DAILY;X-FOO=1;COUNT=3", "FREQ=DAILY; COUNT=3", "FREQ=DAILY;BYDAY=;COUNT=3",
          "FREQ=DAILY;COUNT=3;COUNT=3", "freq=daily;count=3", "FREQ=DAILY;COUNT=3;",
          "RSCALE=GREGORIAN;FREQ=DAILY;SKIP=OMIT;COUNT=3"}) {
        EXPECT_EQ(days(series("RRULE:" + rule + "\r\n")), (Texts{"09-07", "09-08", "09-09"}))
            << rule;
    }
}

TEST_F(LocalSeries, AnExceptionRuleRemovesWhatItFinds) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=5\r\nEXRULE:FREQ=DAILY;INTERVAL=2\r\n")),
              (Texts{"09-08", "09-10"}));
}

TEST_F(LocalSeries, AnExceptionRuleRemovesTheStartOnlyIfItFindsIt) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=3\r\nEXRULE:FREQ=WEEKLY;BYDAY=TU\r\n")),
              (Texts{"09-07", "09-09"}));
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;COUNT=9\r\n"
                          "EXRULE:FREQ=DAILY;BYDAY=TU,WE;COUNT=3\r\n")),
              (Texts{"09-07", "09-10", "09-11", "09-12", "09-13", "09-14"}))
        << "COUNT counts what is found";
}

TEST_F(LocalSeries, SeveralRulesAreOneSeries) {
    EXPECT_EQ(days(series("RRULE:FREQ=WEEKLY;COUNT=2\r\nRRULE:FREQ=MONTHLY;BYMONTHDAY=20,21\r\n")),
              (Texts{"09-07", "09-14", "09-20", "09-21"}));
}

TEST_F(LocalSeries, AnEndGivenAsADateIncludesThatDay) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;UNTIL=20260909\r\n")),
              (Texts{"09-07", "09-08", "09-09"}));
}

TEST_F(LocalSeries, AnEndInUTCIsAnInstant) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;UNTIL=20260909T080000Z\r\n")).size(), 3U);
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;UNTIL=20260909T075959Z\r\n")).size(), 2U);
}

TEST_F(LocalSeries, AnEndWithoutAZoneIsOnTheClockOfTheSeries) {
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;UNTIL=20260909T100000\r\n")).size(), 3U);
    EXPECT_EQ(days(series("RRULE:FREQ=DAILY;UNTIL=20260909T095959\r\n")).size(), 2U);
}

TEST_F(LocalSeries, ATimeStaysTheSameWhenTheClocksChange) {
    EXPECT_EQ(listedFrom(series("RRULE:FREQ=DAILY\r\n"), "2026-10-24", "2026-10-26"),
              (Texts{"2026-10-24T10:00:00+02:00..2026-10-24T11:00:00+02:00 series",
                     "2026-10-25T10:00:00+01:00..2026-10-25T11:00:00+01:00 series"}));
}

TEST_F(LocalSeries, AnUnreadableRuleLeavesTheEvent) {
    EXPECT_EQ(days(series("RRULE:FREQ=SOMETIMES\r\n")), (Texts{"09-07"}));
}

TEST_F(LocalSeries, AllOccurrencesShareTheIdentifier) {
    TemporaryHome home;
    home.write("Work", "a.ics",
               series("RRULE:FREQ=DAILY;COUNT=2\r\n",
                      change("RECURRENCE-ID:20260908T080000Z\r\nDTSTART:20260908T090000Z\r\n")));
    for (const Event& event :
         openEventDatabase()->events(at("2026-09-01"), at("2026-10-01"), nullptr)) {
        EXPECT_EQ(event.identifier, "s");
    }
}

TEST_F(LocalSeries, AnAllDaySeriesKeepsWholeDays) {
    const auto file =
        eventFile("DTSTART;VALUE=DATE:20261024\r\nRRULE:FREQ=DAILY;COUNT=4\r\n"
                  "EXDATE;VALUE=DATE:20261026\r\nRDATE;VALUE=DATE:20261024,20261101\r\n"
                  "SUMMARY:day\r\n");
    EXPECT_EQ(listedFrom(file, "2026-10-01", "2026-12-01"),
              (Texts{"2026-10-24T00:00:00+02:00..2026-10-25T00:00:00+02:00 day",
                     "2026-10-25T00:00:00+02:00..2026-10-26T00:00:00+01:00 day",
                     "2026-10-27T00:00:00+01:00..2026-10-28T00:00:00+01:00 day",
                     "2026-11-01T00:00:00+01:00..2026-11-02T00:00:00+01:00 day"}));
}

TEST_F(LocalSeries, TheEndOfAnAllDaySeriesMayBeADateOrItsMidnightInUTC) {
    for (const std::string until : {"20261012", "20261012T000000Z", "20261011T220000Z"}) {
        EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\nRRULE:FREQ=DAILY;UNTIL=" +
                                       until + "\r\n"),
                             "2026-10-01", "2026-12-01")
                      .size(),
                  3U)
            << until;
    }
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\n"
                                   "RRULE:FREQ=DAILY;UNTIL=20261011T215959Z\r\n"),
                         "2026-10-01", "2026-12-01")
                  .size(),
              2U);
}

TEST_F(LocalSeries, AMidnightInUTCIsTheDateAlsoWhereThatIsTheEveningBefore) {
    const ScopedVariable zone{"TZ", "America/New_York"};
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\n"
                                   "RRULE:FREQ=DAILY;UNTIL=20261012T000000Z\r\n"),
                         "2026-10-01", "2026-12-01")
                  .size(),
              3U);
}

TEST_F(LocalSeries, ATimeInAnAllDaySeriesIsItsDayAndOneInUTCTheUsersDay) {
    const auto daysWith = [](const std::string& line) {
        Texts found;
        for (const std::string& text :
             listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\nRRULE:FREQ=DAILY;COUNT=3\r\n" +
                                  line + "\r\n"),
                        "2026-10-01", "2026-12-01")) {
            found.push_back(text.substr(8, 2));
        }
        return found;
    };
    for (const char* time :
         {":20261011", ":20261011T000000Z", ":20261010T220000Z", ":20261011T120000Z",
          ":20261011T233000", ";TZID=America/New_York:20261011T233000"}) {
        EXPECT_EQ(daysWith(std::string{"EXDATE"} + time), (Texts{"10", "12"})) << time;
    }
    for (const char* time : {":20261014T000000Z", ":20261013T220000Z", ":20261014T215959Z"}) {
        EXPECT_EQ(daysWith(std::string{"RDATE"} + time), (Texts{"10", "11", "12", "14"})) << time;
    }
}

TEST_F(LocalSeries, AnOccurrenceOfAnAllDaySeriesMayBeNamedByTheTimeItBegins) {
    const auto countWith = [](const std::string& lines) {
        return listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\nRRULE:FREQ=DAILY;COUNT=3\r\n",
                                    "BEGIN:VEVENT\r\nUID:event@example.org\r\n" + lines +
                                        "END:VEVENT\r\n"),
                          "2026-10-01", "2026-11-01")
            .size();
    };
    EXPECT_EQ(countWith("RECURRENCE-ID:20261010T220000Z\r\nDTSTART;VALUE=DATE:20261120\r\n"), 2U);
    EXPECT_EQ(countWith("RECURRENCE-ID;RANGE=THISANDFUTURE:20261010T220000Z\r\n"
                        "STATUS:CANCELLED\r\n"),
              1U);
}

TEST_F(LocalSeries, TimesOfDayInARuleMeanNothingToAnAllDaySeries) {
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\n"
                                   "RRULE:FREQ=DAILY;BYHOUR=9,10;COUNT=2\r\n"),
                         "2026-10-01", "2026-12-01")
                  .size(),
              2U);
    EXPECT_EQ(listedFrom(eventFile("DTSTART;VALUE=DATE:20261010\r\nRRULE:FREQ=HOURLY\r\n"),
                         "2026-10-01", "2026-12-01")
                  .size(),
              1U);
}

} // namespace
} // namespace velmiro::local
