#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/platform/local/editing/EventText.hpp"

#include <gtest/gtest.h>

#include <algorithm>

// The text of a new event's file.

namespace velmiro::local {
namespace {

std::string textOf(const NewEvent& event) {
    return eventFileText(event, "the-uid", at("2026-09-01T12:00:00Z"));
}

NewEvent timed(const std::string& title) {
    return {title, at("2026-10-14T13:00:00Z"), at("2026-10-14T14:30:00Z"), false, {}, {}};
}

NewEvent allDay(std::string_view start, std::string_view end) {
    return {"day", at(start), at(end), true, {}, {}};
}

/// Returns the dates of an all-day event, as 20261014..20261015.
std::string datesOf(const NewEvent& event) {
    const std::string text = textOf(event);
    const std::string start = "DTSTART;VALUE=DATE:";
    const std::string end = "DTEND;VALUE=DATE:";
    return text.substr(text.find(start) + start.size(), 8) + ".." +
           text.substr(text.find(end) + end.size(), 8);
}

TEST(LocalEventText, IsACalendarWithOneEvent) {
    NewEvent event = timed("Dentist");
    event.location = "Main St. 1, Berlin";
    event.notes = "a;b\\c\nd";
    EXPECT_EQ(textOf(event), "BEGIN:VCALENDAR\r\n"
                             "VERSION:2.0\r\n"
                             "PRODID:-//Velmiro//velmiro_mcp//EN\r\n"
                             "BEGIN:VEVENT\r\n"
                             "UID:the-uid\r\n"
                             "DTSTAMP:20260901T120000Z\r\n"
                             "DTSTART:20261014T130000Z\r\n"
                             "DTEND:20261014T143000Z\r\n"
                             "SUMMARY:Dentist\r\n"
                             "LOCATION:Main St. 1\\, Berlin\r\n"
                             "DESCRIPTION:a\\;b\\\\c\\nd\r\n"
                             "END:VEVENT\r\n"
                             "END:VCALENDAR\r\n");
}

TEST(LocalEventText, LinesHaveAtMost75BytesAndCutNoCharacter) {
    std::string title;
    for (int count = 0; count < 60; ++count) {
        title += count % 3 == 0 ? "ä" : count % 3 == 1 ? "👩‍👧" : "x,";
    }
    const std::string text = textOf(timed(title));
    std::string joined;
    for (std::string_view rest = text; !rest.empty();) {
        const auto length = rest.find("\r\n");
        ASSERT_NE(length, std::string_view::npos);
        EXPECT_LE(length, 75U);
        const auto line = rest.substr(0, length);
        // A line that began inside a UTF-8 sequence would begin with a byte 10xxxxxx.
        EXPECT_NE(static_cast<unsigned char>(line[line[0] == ' ' ? 1 : 0]) & 0xC0, 0x80);
        joined += line[0] == ' ' ? std::string{line.substr(1)} : "\n" + std::string{line};
        rest.remove_prefix(length + 2);
    }
    std::string escaped;
    for (const char letter : title) {
        escaped += letter == ',' ? "\\," : std::string{letter};
    }
    EXPECT_NE(joined.find("\nSUMMARY:" + escaped + "\n"), std::string::npos);
}

TEST(LocalEventText, ALineOfExactly75BytesIsNotFolded) {
    const std::string title(75 - std::string{"SUMMARY:"}.size(), 'x');
    EXPECT_NE(textOf(timed(title)).find("SUMMARY:" + title + "\r\n"), std::string::npos);
    EXPECT_NE(textOf(timed(title + "y")).find("SUMMARY:" + title + "\r\n y\r\n"),
              std::string::npos);
}

TEST(LocalEventText, TitlesWithBlanksLineEndsAndEmojiAreReadBackAsTheyWere) {
    for (const std::string title :
         {"", " ", " two  blanks ", "tab\there", "\n", "one\ntwo\n",
          "👩‍👩‍👧‍👦 été", "\\n is no line end", "a;b,c:d\"e", "\u2028\u0085",
          "BEGIN:VEVENT", "\nEND:VEVENT\n"}) {
        TemporaryHome home;
        home.write("Work", "displayname", "");
        const auto database = openEventDatabase();
        NewEvent event = timed(title);
        event.notes = title + title;
        database->saveEvent(event, {"Work", "Work"});
        const auto events = database->events(event.start, event.end, nullptr);
        ASSERT_EQ(events.size(), 1U) << title;
        EXPECT_EQ(events[0].title, title);
        EXPECT_EQ(events[0].notes.value_or(""), title + title);
    }
}

TEST(LocalEventText, EveryLineBreakBecomesTheFormatsOwn) {
    EXPECT_NE(textOf(timed("a\r\nb\rc\nd")).find("SUMMARY:a\\nb\\nc\\nd\r\n"), std::string::npos);
}

TEST(LocalEventText, TheErrorSaysWhatCannotBeStored) {
    try {
        textOf(timed("a\x01"));
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "the title of the event contains a control character that a "
                                   "calendar file cannot hold; nothing was saved");
    }
}

TEST(LocalEventText, SecondsAreKeptAndPartsOfThemAreNot) {
    NewEvent event = timed("x");
    event.start += std::chrono::milliseconds{5'999};
    EXPECT_NE(textOf(event).find("DTSTART:20261014T130005Z\r\n"), std::string::npos);
}

TEST(LocalEventText, DatesThatHaveNoFourDigitsAreRefused) {
    NewEvent event = timed("x");
    event.end = at("9999-12-31T23:59:59Z") + std::chrono::seconds{1};
    EXPECT_THROW(textOf(event), PlatformError);
    event.start = at("0001-01-01T00:00:00Z") - std::chrono::seconds{1};
    event.end = at("2026-01-01");
    EXPECT_THROW(textOf(event), PlatformError);
    event.start += std::chrono::seconds{1};
    EXPECT_NO_THROW(textOf(event));
}

TEST(LocalEventText, AnAllDayEventHasDatesAndItsEndIsTheDayAfter) {
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    EXPECT_EQ(datesOf(allDay("2026-10-14", "2026-10-15")), "20261014..20261015");
    EXPECT_EQ(datesOf(allDay("2026-10-14", "2026-10-17")), "20261014..20261017");
}

TEST(LocalEventText, ADayIsADayAlsoWhenTheClocksChange) {
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    const auto fromStart = [](std::string_view start, int hours) {
        NewEvent event = allDay(start, start);
        event.end = event.start + std::chrono::hours{hours};
        return datesOf(event);
    };
    EXPECT_EQ(fromStart("2026-10-25", 24), "20261025..20261026"); // ends at 23:00
    EXPECT_EQ(fromStart("2026-03-29", 24), "20260329..20260330"); // ends at 01:00 of the next day
    EXPECT_EQ(fromStart("2026-10-24", 48), "20261024..20261026");
    const ScopedVariable cairo{"TZ", "Africa/Cairo"};
    EXPECT_EQ(fromStart("2026-04-24", 24), "20260424..20260425"); // begins at 01:00
    const ScopedVariable apia{"TZ", "Pacific/Apia"};
    EXPECT_EQ(fromStart("2011-12-29", 24), "20111229..20111231"); // the 30th was skipped
}

TEST(LocalEventText, TimesOfAnAllDayEventGiveTheNearestWholeDaysFromItsFirstDay) {
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    // The user was asked about the day of the start, however late in that day it is.
    EXPECT_EQ(datesOf(allDay("2026-10-14T15:00", "2026-10-15T15:00")), "20261014..20261015");
    EXPECT_EQ(datesOf(allDay("2026-10-14T23:59", "2026-10-15T00:10")), "20261014..20261015");
    EXPECT_EQ(datesOf(allDay("2026-10-14T09:00", "2026-10-14T09:01")), "20261014..20261015");
    EXPECT_EQ(datesOf(allDay("2026-10-14", "2026-10-15T23:59")), "20261014..20261016");
    EXPECT_EQ(datesOf(allDay("2026-10-14", "2026-10-15T11:59")), "20261014..20261015");
}

} // namespace
} // namespace velmiro::local
