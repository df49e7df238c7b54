#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"

#include <gtest/gtest.h>

// Several versions of one item in a file: which of them counts.

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

std::string component(const std::string& kind, const std::string& lines) {
    return "BEGIN:" + kind + "\r\nUID:a\r\n" + lines + "END:" + kind + "\r\n";
}

std::string event(const std::string& title, const std::string& lines,
                  const std::string& start = "DTSTART:20260910T080000Z\r\n") {
    return component("VEVENT", "SUMMARY:" + title + "\r\n" + start + lines);
}

class LocalVersions : public testing::Test {
protected:
    static Texts titles(const std::string& components) {
        Texts found;
        for (const std::string& text :
             listedFrom("BEGIN:VCALENDAR\r\n" + components + "END:VCALENDAR\r\n", "2026-09-01",
                        "2026-10-01")) {
            found.push_back(text.substr(5, 5) + text.substr(text.find(' ')));
        }
        return found;
    }

    ScopedVariable zone_{"TZ", "UTC"};
};

TEST_F(LocalVersions, TheHighestSequenceCountsWhereverItStands) {
    const std::string first = event("old", "DTSTAMP:20270101T000000Z\r\n");
    const std::string second = event("new", "SEQUENCE:1\r\nDTSTAMP:20260101T000000Z\r\n");
    const std::string tenth = event("newest", "SEQUENCE:10\r\n");
    EXPECT_EQ(titles(first + second), Texts{"09-10 new"});
    EXPECT_EQ(titles(second + first), Texts{"09-10 new"});
    EXPECT_EQ(titles(second + tenth + first), Texts{"09-10 newest"});
}

TEST_F(LocalVersions, ThenTheLatestStampThenTheLatestChangeThenTheLastInTheFile) {
    const std::string early = event("early", "DTSTAMP:20260101T000000Z\r\n"
                                             "LAST-MODIFIED:20260301T000000Z\r\n");
    const std::string late = event("late", "DTSTAMP:20260102T000000Z\r\n");
    const std::string changed = event("changed", "DTSTAMP:20260102T000000Z\r\n"
                                                 "LAST-MODIFIED:20260201T000000Z\r\n");
    EXPECT_EQ(titles(late + early), Texts{"09-10 late"});
    EXPECT_EQ(titles(changed + late), Texts{"09-10 changed"});
    EXPECT_EQ(titles(event("one", "") + event("other", "")), Texts{"09-10 other"});
}

TEST_F(LocalVersions, TheyMayBeInSeveralCalendarsOfTheFile) {
    EXPECT_EQ(titles(event("new", "SEQUENCE:1\r\n") + "END:VCALENDAR\r\nBEGIN:VCALENDAR\r\n" +
                     event("old", "")),
              Texts{"09-10 new"});
}

TEST_F(LocalVersions, OfTwoChangesOfOneOccurrenceTheLaterCounts) {
    const std::string series = event("series", "RRULE:FREQ=DAILY;COUNT=3\r\n");
    const auto change = [](const std::string& title, const std::string& lines) {
        return event(title, lines, "DTSTART:20260915T080000Z\r\n");
    };
    EXPECT_EQ(titles(series + change("first", "RECURRENCE-ID:20260911T080000Z\r\n") +
                     change("second", "SEQUENCE:1\r\nRECURRENCE-ID;TZID=Europe/Berlin:"
                                      "20260911T100000\r\n")),
              (Texts{"09-10 series", "09-12 series", "09-15 second"}));
    EXPECT_EQ(titles(series + change("first", "RECURRENCE-ID:20260911T080000Z\r\n") +
                     change("other", "RECURRENCE-ID:20260912T080000Z\r\n")),
              (Texts{"09-10 series", "09-15 first", "09-15 other"}))
        << "changes of two occurrences";
}

TEST_F(LocalVersions, AVersionThatCancelsTakesTheEventAwayWithItsChanges) {
    const std::string series = event("series", "RRULE:FREQ=DAILY;COUNT=3\r\n");
    const std::string change = event("change", "RECURRENCE-ID:20260911T080000Z\r\n");
    EXPECT_EQ(titles(series + change + event("gone", "SEQUENCE:1\r\nSTATUS:CANCELLED\r\n")),
              Texts{});
    EXPECT_EQ(titles(series + change + event("gone", "SEQUENCE:1\r\nSTATUS:CANCELLED\r\n", "")),
              Texts{})
        << "a cancellation needs no start";
    EXPECT_EQ(titles(event("back", "SEQUENCE:2\r\n") +
                     event("gone", "SEQUENCE:1\r\nSTATUS:CANCELLED\r\n")),
              Texts{"09-10 back"})
        << "superseded itself";
}

TEST_F(LocalVersions, ACancelledVersionOfAnOccurrenceTakesThatOccurrenceAway) {
    EXPECT_EQ(titles(event("series", "RRULE:FREQ=DAILY;COUNT=2\r\n") +
                     event("moved", "RECURRENCE-ID:20260911T080000Z\r\n") +
                     event("gone",
                           "RECURRENCE-ID:20260911T080000Z\r\nSEQUENCE:1\r\n"
                           "STATUS:CANCELLED\r\n",
                           "")),
              Texts{"09-10 series"});
}

TEST_F(LocalVersions, AnUnreadableVersionHidesNoOther) {
    EXPECT_EQ(titles(event("good", "") + event("bad", "SEQUENCE:1\r\n", "DTSTART:soon\r\n")),
              Texts{"09-10 good"});
}

TEST_F(LocalVersions, EventsWithoutUIDAreNoVersions) {
    const std::string nameless = "BEGIN:VEVENT\nSUMMARY:x\nDTSTART:20260910T080000Z\nEND:VEVENT\n";
    EXPECT_EQ(titles(nameless + nameless), (Texts{"09-10 x", "09-10 x"}));
}

TEST_F(LocalVersions, ACancelledEventWithoutUIDCancelsNoOther) {
    const std::string nameless = "BEGIN:VEVENT\r\nSUMMARY:nameless\r\nDTSTART:20260910T080000Z\r\n"
                                 "STATUS:CANCELLED\r\nEND:VEVENT\r\n";
    ZoneCatalogue zones;
    // Its identifier, the file's name, is also the UID of the others.
    const auto events =
        readCalendarFile(event("old", "") + event("new", "SEQUENCE:1\r\n") + nameless, "a", zones)
            .events;
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].title, "new");
    EXPECT_EQ(events[1].title, "nameless");
}

class LocalReminderVersions : public testing::Test {
protected:
    void write(const std::string& reminders) const {
        home.writeReminder("Home", "a.ics",
                           "BEGIN:VCALENDAR\r\n" + reminders + "END:VCALENDAR\r\n");
    }
    static std::string reminder(const std::string& title, const std::string& lines) {
        return component("VTODO", "SUMMARY:" + title + "\r\n" + lines);
    }
    Texts titles(bool completed = false) {
        Texts found;
        for (const Reminder& one : fetched(*database, {completed, std::nullopt, nullptr})) {
            found.push_back(one.title.value_or(""));
        }
        return found;
    }

    TemporaryHome home;
    std::unique_ptr<EventDatabase> database = openEventDatabase();
};

TEST_F(LocalReminderVersions, TheHighestSequenceIsListed) {
    write(reminder("new", "SEQUENCE:2\r\n") + reminder("old", "SEQUENCE:1\r\n"));
    EXPECT_EQ(titles(), Texts{"new"});
    EXPECT_EQ(titles(true), Texts{"new"});
}

TEST_F(LocalReminderVersions, TheOneThatIsShownIsCompletedAndNoOther) {
    const std::string old = reminder("old", "");
    write(old + reminder("new", "SEQUENCE:1\r\n") + old);
    EXPECT_EQ(database->reminder("a").value_or(Reminder{}).title, "new");
    EXPECT_TRUE(database->completeReminder("a"));
    const std::string file = readFile(home.reminders() + "/Home/a.ics");
    const auto changed = file.find("SUMMARY:new");
    EXPECT_EQ(file.find(old), std::string_view{"BEGIN:VCALENDAR\r\n"}.size());
    EXPECT_NE(file.find(old, changed), std::string::npos);
    EXPECT_NE(file.find("SEQUENCE:2", changed), std::string::npos);
    EXPECT_EQ(titles(), Texts{});
    EXPECT_EQ(titles(true), Texts{"new"});
}

TEST_F(LocalReminderVersions, ASequenceBeyondTheFormatsRangeStillCountsAfterCompletion) {
    write(reminder("old", "SEQUENCE: 2999999999 \r\n") +
          reminder("new", "SEQUENCE: 3000000000 \r\n"));
    EXPECT_EQ(titles(), Texts{"new"});
    EXPECT_TRUE(database->completeReminder("a"));
    EXPECT_EQ(titles(), Texts{});
    EXPECT_EQ(titles(true), Texts{"new"});
}

TEST_F(LocalReminderVersions, ACancelledVersionIsNotOpen) {
    write(reminder("open", "") + reminder("given up", "SEQUENCE:1\r\nSTATUS:CANCELLED\r\n"));
    EXPECT_EQ(titles(), Texts{});
    EXPECT_EQ(titles(true), Texts{"given up"});
}

} // namespace
} // namespace velmiro::local
