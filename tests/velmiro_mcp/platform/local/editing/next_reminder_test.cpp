// Completing a recurring reminder adds the next one of its series.

#include "tests/velmiro_mcp/platform/local/editing/CompletionTest.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;

class NextOfASeries : public CompletionTest {
protected:
    /// Returns the DTSTART, DUE, RRULE and TRIGGER lines of the reminder after one with these lines.
    Texts nextLines(const std::string& lines) {
        completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\n" + lines + "END:VTODO\nEND:VCALENDAR\n");
        std::istringstream text{next()};
        Texts found;
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with("DTSTART") || line.starts_with("DUE") ||
                line.starts_with("RRULE") || line.starts_with("TRIGGER")) {
                found.push_back(line);
            }
        }
        fs::remove_all(home.reminders());
        return found;
    }

    /// Returns why a reminder with these lines is not completed. Its file stays as it was.
    std::string refusal(const std::string& lines) {
        const std::string file = reminderFile(lines);
        home.writeReminder("Home", "a.ics", file);
        std::string reason;
        try {
            database->completeReminder("todo@example.org");
        } catch (const PlatformError& error) {
            reason = error.what();
        }
        EXPECT_EQ(readFile(path()), file);
        EXPECT_EQ(namesIn(home.reminders() + "/Home"), Texts{"a.ics"});
        return reason;
    }
};

std::string alarm(const std::string& lines) {
    return "BEGIN:VALARM\n" + lines + "END:VALARM\n";
}

/// Returns the list of the whole numbers from 0 up to one before `end`.
std::string below(int end) {
    std::string list = "0";
    for (int number = 1; number < end; ++number) {
        list += "," + std::to_string(number);
    }
    return list;
}

} // namespace

TEST_F(NextOfASeries, IsANewReminderWithTheSameLines) {
    const std::string before = "BEGIN:VCALENDAR\r\nPRODID:-//Somebody//EN\r\n"
                               "BEGIN:VTIMEZONE\r\nTZID:Here\r\nBEGIN:STANDARD\r\n"
                               "DTSTART:19700101T000000\r\nTZOFFSETFROM:+0100\r\n"
                               "TZOFFSETTO:+0100\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n";
    const std::string other = "BEGIN:VTODO\r\nUID:other\r\nSUMMARY:Other\r\nEND:VTODO\r\n";
    const std::string text =
        completed(before + other +
                  "BEGIN:VTODO\r\nUID:a\r\nSUMMARY:Water\r\n  the plants\r\n"
                  "DUE;TZID=Here:20261014T090000\r\nRRULE:FREQ=WEEKLY\r\n"
                  "PERCENT-COMPLETE:20\r\nX-KEEP:me\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    EXPECT_EQ(text, before + other +
                        "BEGIN:VTODO\r\nUID:a\r\nSUMMARY:Water\r\n  the plants\r\n"
                        "DUE;TZID=Here:20261014T090000\r\n"
                        "PERCENT-COMPLETE:100\r\nX-KEEP:me\r\nCOMPLETED:NOW\r\n"
                        "LAST-MODIFIED:NOW\r\nSEQUENCE:1\r\nSTATUS:COMPLETED\r\nEND:VTODO\r\n"
                        "END:VCALENDAR\r\n");
    const std::string following =
        std::regex_replace(withoutNow(next()), std::regex{"UID:[-0-9a-f]{36}"}, "UID:NEW");
    EXPECT_EQ(following, before + "BEGIN:VTODO\r\nUID:NEW\r\nSUMMARY:Water\r\n  the plants\r\n"
                                  "DUE;TZID=Here:20261021T090000\r\nRRULE:FREQ=WEEKLY\r\n"
                                  "X-KEEP:me\r\nCREATED:NOW\r\nDTSTAMP:NOW\r\nLAST-MODIFIED:NOW\r\n"
                                  "STATUS:NEEDS-ACTION\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    const auto open = fetched(*database);
    ASSERT_EQ(open.size(), 2U);
    EXPECT_EQ(std::ranges::count(open, "Water the plants", &Reminder::title), 1);
}

TEST_F(NextOfASeries, OfASecondCalendarInAFileLeavesTheRestOfTheFileBehind) {
    completed("a line before\nBEGIN:VCALENDAR\nX-FIRST:1\nBEGIN:VTODO\nUID:b\nEND:VTODO\n"
              "END:VCALENDAR\nBEGIN:VCALENDAR\nX-SECOND:1\nBEGIN:VTODO\nUID:c\nEND:VTODO\n"
              "BEGIN:VTODO\nUID:a\nDUE;VALUE=DATE:20261014\nRRULE:FREQ=DAILY\nEND:VTODO\n"
              "BEGIN:VTODO\nUID:d\nEND:VTODO\nEND:VCALENDAR\nBEGIN:VCALENDAR\nX-THIRD:1\n"
              "END:VCALENDAR\na line after\n");
    const std::string text =
        std::regex_replace(withoutNow(next()), std::regex{"UID:[-0-9a-fA-F]+"}, "UID:new");
    EXPECT_EQ(text, "BEGIN:VCALENDAR\nX-SECOND:1\nBEGIN:VTODO\nUID:new\n"
                    "DUE;VALUE=DATE:20261015\nRRULE:FREQ=DAILY\nCREATED:NOW\nDTSTAMP:NOW\n"
                    "LAST-MODIFIED:NOW\nSTATUS:NEEDS-ACTION\nEND:VTODO\nEND:VCALENDAR\n");
}

TEST_F(NextOfASeries, FollowsTheRule) {
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260131\nRRULE:FREQ=MONTHLY\n"),
              (Texts{"DUE;VALUE=DATE:20260331", "RRULE:FREQ=MONTHLY"}));
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;INTERVAL=3\n"),
              (Texts{"DUE:20261017T130000Z", "RRULE:FREQ=DAILY;INTERVAL=3"}));
    EXPECT_EQ(
        nextLines("DTSTART:20261014T090000\nDUE:20261015T180000\n"
                  "RRULE:FREQ=WEEKLY;BYDAY=MO,WE\n"),
        (Texts{"DTSTART:20261019T090000", "DUE:20261020T180000", "RRULE:FREQ=WEEKLY;BYDAY=MO,WE"}));
    EXPECT_EQ(nextLines("DUE;TZID=Europe/Berlin:20261018T090000\nRRULE:FREQ=WEEKLY\n"),
              (Texts{"DUE;TZID=Europe/Berlin:20261025T090000", "RRULE:FREQ=WEEKLY"}))
        << "the same time on the clock";
    EXPECT_EQ(nextLines("DUE:20260229\nDUE:20240229\nRRULE:FREQ=YEARLY\n"), Texts{})
        << "an impossible date repeats nowhere";
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20240229\nRRULE:FREQ=YEARLY\n"),
              (Texts{"DUE;VALUE=DATE:20280229", "RRULE:FREQ=YEARLY"}));
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY\nEXDATE:20261015T130000Z\n"),
              (Texts{"DUE:20261016T130000Z", "RRULE:FREQ=DAILY"}));
}

TEST_F(NextOfASeries, CountAndUntilEndTheSeries) {
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;COUNT=3;INTERVAL=1\n"),
              (Texts{"DUE:20261015T130000Z", "RRULE:FREQ=DAILY;COUNT=2;INTERVAL=1"}));
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;COUNT=3\n"
                        "EXDATE:20261015T130000Z\n"),
              (Texts{"DUE:20261016T130000Z", "RRULE:FREQ=DAILY;COUNT=1"}));
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;COUNT=1\n"), Texts{});
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;UNTIL=20261014T235959Z\n"),
              Texts{});
}

TEST_F(NextOfASeries, TheLastOfASeriesIsDoneLikeAnyOther) {
    const std::string text = completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nDUE:20261014T130000Z\n"
                                       "RRULE:FREQ=DAILY;COUNT=1\nEND:VTODO\nEND:VCALENDAR\n");
    EXPECT_NE(text.find("STATUS:COMPLETED"), std::string::npos);
    EXPECT_NE(text.find("RRULE:FREQ=DAILY;COUNT=1"), std::string::npos);
    EXPECT_EQ(next(), "");
}

TEST_F(NextOfASeries, ARuleWrittenToExhaustTheReaderEnds) {
    const auto since = std::chrono::steady_clock::now();
    EXPECT_EQ(nextLines("DUE:20260101T000000Z\nRRULE:FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30\n"),
              Texts{});
    EXPECT_EQ(nextLines("DUE:20260101T000000Z\nRRULE:FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30\n"),
              Texts{});
    EXPECT_EQ(nextLines("DUE:20260101T000000Z\nRRULE:FREQ=SECONDLY\n").front(),
              "DUE:20260101T000001Z");
    EXPECT_LT(std::chrono::steady_clock::now() - since, std::chrono::seconds{10});
}

TEST_F(NextOfASeries, TheRestOfACountIsFoundHoweverTheRuleIsWritten) {
    EXPECT_EQ(nextLines("DUE:20260910T080000Z\nRRULE:X-FOO=1;freq=daily; Count = 5;BYDAY=\n"),
              (Texts{"DUE:20260911T080000Z", "RRULE:X-FOO=1;freq=daily;COUNT=4;BYDAY="}));
}

TEST_F(NextOfASeries, AnOccurrenceBesidesTheRuleUsesUpNoneOfACount) {
    EXPECT_EQ(nextLines("DUE:20260910T080000Z\nRRULE:FREQ=WEEKLY;COUNT=5\n"
                        "RDATE:20260911T080000Z\n"),
              (Texts{"DUE:20260911T080000Z",
                     "RRULE:FREQ=WEEKLY;COUNT=5;BYDAY=TH;BYHOUR=8;BYMINUTE=0;BYSECOND=0"}));
    EXPECT_EQ(nextLines("DUE:20260910T080000Z\nRRULE:FREQ=WEEKLY;COUNT=1\n"
                        "RDATE:20260911T080000Z\n"),
              (Texts{"DUE:20260911T080000Z", "RRULE:FREQ=WEEKLY;COUNT=1"}));
}

TEST_F(NextOfASeries, GoesOnAsBeforeAfterAnOccurrenceBesidesTheRule) {
    EXPECT_EQ(nextLines("DTSTART;TZID=Europe/Berlin:20260105T090000\n"
                        "DUE;TZID=Europe/Berlin:20260105T100000\nRRULE:FREQ=WEEKLY\n"
                        "RDATE;TZID=Europe/Berlin:20260107T090000\n"),
              (Texts{"DTSTART;TZID=Europe/Berlin:20260107T090000",
                     "DUE;TZID=Europe/Berlin:20260107T100000",
                     "RRULE:FREQ=WEEKLY;BYDAY=MO;BYHOUR=9;BYMINUTE=0;BYSECOND=0"}));
    EXPECT_EQ(nextLines("DTSTART;VALUE=DATE:20260105\nRRULE:FREQ=WEEKLY\n"
                        "RRULE:FREQ=MONTHLY;BYMONTHDAY=8\n"),
              (Texts{"DTSTART;VALUE=DATE:20260108", "RRULE:FREQ=WEEKLY;BYDAY=MO",
                     "RRULE:FREQ=MONTHLY;BYMONTHDAY=8"}));
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260105\nRRULE:FREQ=WEEKLY\n"
                        "RRULE:FREQ=YEARLY;BYMONTH=1;BYDAY=1MO\nRDATE;VALUE=DATE:20260108\n"),
              (Texts{"DUE;VALUE=DATE:20260108", "RRULE:FREQ=WEEKLY;BYDAY=MO",
                     "RRULE:FREQ=YEARLY;BYMONTH=1;BYDAY=1MO"}));
    EXPECT_EQ(nextLines("DUE:20260105T090000Z\nRRULE:FREQ=DAILY\nRDATE:20260105T120000Z\n"),
              (Texts{"DUE:20260105T120000Z", "RRULE:FREQ=DAILY;BYHOUR=9;BYMINUTE=0;BYSECOND=0"}));
    EXPECT_EQ(nextLines("DUE:20260105T090000Z\nRRULE:FREQ=HOURLY\nRDATE:20260105T093000Z\n"),
              (Texts{"DUE:20260105T093000Z", "RRULE:FREQ=HOURLY;BYMINUTE=0;BYSECOND=0"}));
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260105\nRRULE:FREQ=YEARLY\nRDATE;VALUE=DATE:20260108\n"),
              (Texts{"DUE;VALUE=DATE:20260108", "RRULE:FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=5"}));
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260105\nRRULE:FREQ=YEARLY;BYWEEKNO=2\n"
                        "RDATE;VALUE=DATE:20260108\n"),
              (Texts{"DUE;VALUE=DATE:20260108", "RRULE:FREQ=YEARLY;BYWEEKNO=2;BYDAY=MO"}));
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260131\n"
                        "RRULE:RSCALE=GREGORIAN;FREQ=MONTHLY;SKIP=BACKWARD\n"),
              (Texts{"DUE;VALUE=DATE:20260228",
                     "RRULE:RSCALE=GREGORIAN;FREQ=MONTHLY;SKIP=BACKWARD;BYMONTHDAY=31"}));
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260105\nRDATE;VALUE=DATE:20260107,20260109\n"),
              (Texts{"DUE;VALUE=DATE:20260107"}))
        << "dates alone";
}

TEST_F(NextOfASeries, IsAllThatIsLeftOfTheSeries) {
    const std::string done = completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nDUE:20260105T090000Z\n"
                                       "RRULE:FREQ=DAILY\nRDATE:20260105T120000Z\n"
                                       "RDATE:20260106T120000Z\nEND:VTODO\nEND:VCALENDAR\n");
    EXPECT_EQ(done.find("RRULE"), std::string::npos);
    EXPECT_EQ(done.find("RDATE"), std::string::npos);
}

TEST_F(NextOfASeries, ReducesEveryCount) {
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260105\nRRULE:FREQ=WEEKLY;COUNT=3\n"
                        "RRULE:FREQ=DAILY;INTERVAL=7;COUNT=5\n"),
              (Texts{"DUE;VALUE=DATE:20260112", "RRULE:FREQ=WEEKLY;COUNT=2",
                     "RRULE:FREQ=DAILY;INTERVAL=7;COUNT=4"}));
}

TEST_F(NextOfASeries, ThatCannotGoOnAsBeforeIsRefusedAndNothingIsLost) {
    // Every third day counts from the start, which no part of a rule can name.
    EXPECT_EQ(refusal("DUE;VALUE=DATE:20260105\r\nRRULE:FREQ=DAILY;INTERVAL=3\r\n"
                      "RDATE;VALUE=DATE:20260106\r\n"),
              "the rest of this recurring reminder cannot be kept as it is; nothing was saved");
}

TEST_F(NextOfASeries, ThatTheReaderCannotFollowToItsEndGoesOn) {
    // All seconds of a day take up so much of the work that a reader allows that it looks at 37
    // years of days. A count counts from the start: so one more is seen of the next series than of
    // the old one.
    const std::string leapDays = "RRULE:FREQ=DAILY;BYMONTH=2;BYMONTHDAY=29;BYHOUR=" + below(24) +
                                 ";BYMINUTE=" + below(60) + ";BYSECOND=" + below(60) +
                                 ";BYSETPOS=1;COUNT=";
    EXPECT_EQ(nextLines("DUE:20240229T000000Z\n" + leapDays + "100\n").front(),
              "DUE:20280229T000000Z");
    EXPECT_EQ(nextLines("DUE:20240229T000000Z\n" + leapDays + "11\n").front(),
              "DUE:20280229T000000Z")
        << "the end of the next series is seen";
}

TEST_F(NextOfASeries, ATimeThatTheClockSkipsStaysThatTimeInTheRule) {
    EXPECT_EQ(nextLines("DUE;TZID=Europe/Berlin:20260328T023000\nRRULE:FREQ=DAILY\n"),
              (Texts{"DUE;TZID=Europe/Berlin:20260329T023000", "RRULE:FREQ=DAILY"}));
    EXPECT_EQ(nextLines("DUE;TZID=America/Nuuk:20260321T233000\nRRULE:FREQ=WEEKLY\n"),
              (Texts{"DUE;TZID=America/Nuuk:20260328T233000", "RRULE:FREQ=WEEKLY"}));
}

TEST_F(NextOfASeries, IsDueAsLongAfterItsStartAsBefore) {
    EXPECT_EQ(nextLines("DTSTART;TZID=Europe/Berlin:20261021T090000\nDUE:20261021T073000Z\n"
                        "RRULE:FREQ=WEEKLY\n"),
              (Texts{"DTSTART;TZID=Europe/Berlin:20261028T090000", "DUE:20261028T083000Z",
                     "RRULE:FREQ=WEEKLY"}));
    EXPECT_EQ(nextLines("DTSTART;TZID=Europe/Berlin:20260328T120000\nDUE;VALUE=DATE:20260330\n"
                        "RRULE:FREQ=DAILY\n"),
              (Texts{"DTSTART;TZID=Europe/Berlin:20260329T120000", "DUE;VALUE=DATE:20260331",
                     "RRULE:FREQ=DAILY"}))
        << "the night in between has an hour less";
}

TEST_F(NextOfASeries, RingsAsLongBeforeItsDateAsBefore) {
    const std::string daily = "RRULE:FREQ=DAILY";
    const std::string quarterTo = alarm("TRIGGER;VALUE=DATE-TIME:20260328T074500Z\n");
    EXPECT_EQ(nextLines("DUE;TZID=Europe/Berlin:20260328T090000\n" + daily + "\n" + quarterTo),
              (Texts{"DUE;TZID=Europe/Berlin:20260329T090000", daily,
                     "TRIGGER;VALUE=DATE-TIME:20260329T064500Z"}))
        << "at the same time on its clock";
    EXPECT_EQ(nextLines("DUE;VALUE=DATE:20260328\n" + daily + "\n" + quarterTo),
              (Texts{"DUE;VALUE=DATE:20260329", daily, "TRIGGER;VALUE=DATE-TIME:20260329T064500Z"}))
        << "on the user's clock";
    EXPECT_EQ(nextLines("DUE:20260328T080000Z\n" + daily + "\n" + quarterTo),
              (Texts{"DUE:20260329T080000Z", daily, "TRIGGER;VALUE=DATE-TIME:20260329T074500Z"}));
    EXPECT_EQ(nextLines("DTSTART:20260328T060000Z\nDUE;TZID=Europe/Berlin:20260328T090000\n" +
                        daily + "\n" + quarterTo),
              (Texts{"DTSTART:20260329T060000Z", "DUE;TZID=Europe/Berlin:20260329T100000", daily,
                     "TRIGGER;VALUE=DATE-TIME:20260329T074500Z"}));
    EXPECT_EQ(nextLines("DTSTART;TZID=Europe/Berlin:20260328T090000\n" + daily + "\n" + quarterTo),
              (Texts{"DTSTART;TZID=Europe/Berlin:20260329T090000", daily,
                     "TRIGGER;VALUE=DATE-TIME:20260329T064500Z"}))
        << "without a due date";
    EXPECT_EQ(nextLines("DUE:20260328T080000Z\n" + daily + "\n" + quarterTo +
                        alarm("ACTION:AUDIO\nTRIGGER;TZID=Europe/Berlin:20260327T\n 090000\n")),
              (Texts{"DUE:20260329T080000Z", daily, "TRIGGER;VALUE=DATE-TIME:20260329T074500Z",
                     "TRIGGER;TZID=Europe/Berlin:20260328T090000"}))
        << "each of several";
}

TEST_F(NextOfASeries, KeepsOtherTriggersAsTheyAre) {
    const std::string due = "DUE:20260328T080000Z\nRRULE:FREQ=DAILY\n";
    for (const auto& [lines, trigger] : std::vector<std::pair<std::string, std::string>>{
             {alarm("TRIGGER:-PT15M\n"), "TRIGGER:-PT15M"},
             {alarm("TRIGGER;RELATED=END:PT0S\n"), "TRIGGER;RELATED=END:PT0S"},
             {alarm("ACTION:NONE\nTRIGGER;VALUE=DATE-TIME:19760401T005545Z\n"),
              "TRIGGER;VALUE=DATE-TIME:19760401T005545Z"},
             {alarm("TRIGGER;VALUE=DATE-TIME:soon\n"), "TRIGGER;VALUE=DATE-TIME:soon"},
             {alarm("TRIGGER;VALUE=DATE:20260328\n"), "TRIGGER;VALUE=DATE:20260328"},
             {"TRIGGER:20260328T074500Z\n", "TRIGGER:20260328T074500Z"},
             {"BEGIN:X-OTHER\nTRIGGER:20260328T074500Z\nEND:X-OTHER\n",
              "TRIGGER:20260328T074500Z"}}) {
        const Texts found = nextLines(due + lines);
        ASSERT_EQ(found.size(), 3U) << lines;
        EXPECT_EQ(found[2], trigger);
    }
}

TEST_F(NextOfASeries, WithADateThatHasNoFourDigitsIsRefused) {
    const std::string daily = "RRULE:FREQ=DAILY\n";
    const std::string reason =
        "a calendar file can only hold dates of the years 1 to 9999; nothing was saved";
    EXPECT_EQ(refusal(daily + "DTSTART;VALUE=DATE:20260328\nDUE;VALUE=DATE:99991231\n"), reason);
    EXPECT_EQ(refusal(daily + "DUE;VALUE=DATE:20260328\n" +
                      alarm("TRIGGER;VALUE=DATE-TIME:99991231T120000Z\n")),
              reason);
}

TEST_F(NextOfASeries, IsNoneIfAllThatFollowAreCancelled) {
    const auto nextAfter = [&](const std::string& status) {
        completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nDUE;VALUE=DATE:20260105\n"
                  "RRULE:FREQ=DAILY\nEND:VTODO\nBEGIN:VTODO\nUID:a\n"
                  "RECURRENCE-ID;VALUE=DATE;RANGE=THISANDFUTURE:20260106\nSTATUS:" +
                  status + "\nEND:VTODO\nEND:VCALENDAR\n");
        const std::string text = next();
        fs::remove_all(home.reminders());
        return text;
    };
    EXPECT_EQ(nextAfter("CANCELLED"), "");
    EXPECT_NE(nextAfter("COMPLETED").find("DUE;VALUE=DATE:20260107"), std::string::npos);
}

TEST_F(NextOfASeries, IsNoneThatAnotherReminderOfTheFileOverridesAsDone) {
    const auto dueAfter = [&](const std::string& status) {
        completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nDUE;VALUE=DATE:20260105\n"
                  "RRULE:FREQ=DAILY\nEND:VTODO\nBEGIN:VTODO\nUID: a\n"
                  "RECURRENCE-ID;VALUE=DATE:20260106\n" +
                  status +
                  "END:VTODO\nBEGIN:VTODO\nUID:b\nRECURRENCE-ID;VALUE=DATE:20260107\n"
                  "STATUS:COMPLETED\nEND:VTODO\nEND:VCALENDAR\n");
        const std::string text = next();
        fs::remove_all(home.reminders());
        return text.substr(text.find("DUE"), std::string_view{"DUE;VALUE=DATE:20260107"}.size());
    };
    EXPECT_EQ(dueAfter("STATUS:COMPLETED\n"), "DUE;VALUE=DATE:20260107");
    EXPECT_EQ(dueAfter("STATUS:CANCELLED\n"), "DUE;VALUE=DATE:20260107");
    EXPECT_EQ(dueAfter(""), "DUE;VALUE=DATE:20260106");
}

TEST_F(NextOfASeries, TheEndOfASeriesIsReadInTheZoneOfItsFile) {
    // The day after at nine is half past three in UTC, half an hour before the end.
    completed("BEGIN:VCALENDAR\nBEGIN:VTIMEZONE\nTZID:Site\nBEGIN:STANDARD\n"
              "DTSTART:19700101T000000\nTZOFFSETFROM:+0530\nTZOFFSETTO:+0530\nEND:STANDARD\n"
              "END:VTIMEZONE\nBEGIN:VTODO\nUID:a\nDUE;TZID=Site:20261014T090000\n"
              "RRULE:FREQ=DAILY;UNTIL=20261015T040000Z\nEND:VTODO\nEND:VCALENDAR\n");
    EXPECT_NE(next().find("DUE;TZID=Site:20261015T090000"), std::string::npos);
}

TEST_F(NextOfASeries, ANameOfAZoneWithAColonStaysWhole) {
    const std::string name = "(UTC+02:00) Athens, Bucharest";
    EXPECT_EQ(nextLines("DUE;TZID=" + name + ":20260910T080000\nRRULE:FREQ=DAILY\n"),
              (Texts{"DUE;TZID=" + name + ":20260911T080000", "RRULE:FREQ=DAILY"}));
}

} // namespace velmiro::local
