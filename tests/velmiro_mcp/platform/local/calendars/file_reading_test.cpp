#include "tests/velmiro_mcp/platform/local/Support.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"

#include <gtest/gtest.h>

#include <random>

// Calendar files as they are found: cut off, in another encoding, several calendars in one.

namespace velmiro::local {
namespace {

std::vector<StoredEvent> read(const std::string& bytes) {
    ZoneCatalogue zones;
    return readCalendarFile(bytes, "Work/file.ics", zones).events;
}

std::string event(const std::string& uid) {
    return "BEGIN:VEVENT\r\nUID:" + uid + "\r\nDTSTART:20260909T080000Z\r\nSUMMARY:" + uid +
           "\r\nEND:VEVENT\r\n";
}

std::vector<std::string> identifiers(const std::string& bytes) {
    std::vector<std::string> found;
    for (const StoredEvent& one : read(bytes)) {
        found.push_back(one.identifier);
    }
    return found;
}

std::string calendar(const std::string& inside) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + inside + "END:VCALENDAR\r\n";
}

using Texts = std::vector<std::string>;

TEST(LocalFile, SeveralCalendarsInOneFileAreAllRead) {
    EXPECT_EQ(identifiers(calendar(event("a")) + calendar(event("b") + event("c"))),
              (Texts{"a", "b", "c"}));
}

TEST(LocalFile, EventsWithoutACalendarAroundThemAreRead) {
    EXPECT_EQ(identifiers(event("a") + event("b")), (Texts{"a", "b"}));
}

TEST(LocalFile, CutOffEventsAreSkippedAndCompleteOnesAreRead) {
    const std::string whole = calendar(event("a") + event("b"));
    const auto second = whole.find("SUMMARY:b");
    EXPECT_EQ(identifiers(whole.substr(0, second)), (Texts{"a"}));
    EXPECT_EQ(identifiers(calendar(event("a")).substr(0, 60)), Texts{});
    EXPECT_EQ(identifiers(whole.substr(0, whole.find("END:VCALENDAR"))), (Texts{"a", "b"}));
}

TEST(LocalFile, AFileThatIsNotACalendarHasNoEvents) {
    for (const std::string bytes :
         {"", "\n", "Dear diary,\n\nBEGIN:VEVENT is a nice line.\n", "{\"events\": []}",
          "END:VEVENT\nEND:VCALENDAR\n", "BEGIN:VEVENT", "BEGIN:VEVENT\n", "BEGIN:\nEND:\n", ":\n",
          "BEGIN:VCALENDAR\nEND:VCALENDAR\n", "\xFF\xFE is no text"}) {
        EXPECT_TRUE(read(bytes).empty()) << bytes;
    }
}

TEST(LocalFile, AByteOrderMarkAndBareLineEndsAreAccepted) {
    std::string bare = calendar(event("a"));
    std::erase(bare, '\r');
    EXPECT_EQ(identifiers("\xEF\xBB\xBF" + bare), (Texts{"a"}));
}

TEST(LocalFile, TheLastLineNeedsNoEnd) {
    const std::string whole = calendar(event("a"));
    EXPECT_EQ(identifiers(whole.substr(0, whole.size() - 2)), (Texts{"a"}));
}

TEST(LocalFile, NamesAreReadInAnyCase) {
    EXPECT_EQ(identifiers("begin:vcalendar\nBegin:vEvent\nuid:a\ndtstart;value=date:20260909\n"
                          "end:vevent\nend:vcalendar\n"),
              (Texts{"a"}));
}

TEST(LocalFile, AlarmsInsideAnEventAreNotTheEvent) {
    const auto events = read("BEGIN:VEVENT\nUID:a\nBEGIN:VALARM\nDESCRIPTION:alarm\nDURATION:PT5M\n"
                             "END:VALARM\nDTSTART:20260909T080000Z\nEND:VEVENT\n");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_FALSE(events[0].notes);
    EXPECT_FALSE(events[0].duration);
}

TEST(LocalFile, TasksAndJournalsAreNoEvents) {
    EXPECT_EQ(identifiers(calendar("BEGIN:VTODO\r\nUID:t\r\nDTSTART:20260909T080000Z\r\n"
                                   "END:VTODO\r\n" +
                                   event("a"))),
              (Texts{"a"}));
}

TEST(LocalFile, LinesAreJoinedAlsoWithinACharacter) {
    const auto events = read("BEGIN:VEVENT\r\nDTSTART:20260909T080000Z\r\n"
                             "SUMMARY:Gr\xC3\r\n \xBC\xC3\n\t\x9F"
                             "e\r\nEND:VEVENT\r\n");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].title, "Grüße");
}

TEST(LocalFile, BytesThatAreNoTextBecomeReplacementCharacters) {
    const auto events = read("BEGIN:VEVENT\nUID:\xE4\nDTSTART:20260909T080000Z\nSUMMARY:Gr\xFC\xDF"
                             "e\nLOCATION:B\xFCro\nDESCRIPTION:\x80\nEND:VEVENT\n");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].identifier, "\uFFFD");
    EXPECT_EQ(events[0].title, "Gr\uFFFD\uFFFDe");
    EXPECT_EQ(events[0].location, "B\uFFFDro");
    EXPECT_EQ(events[0].notes, "\uFFFD");
}

TEST(LocalFile, ANULHidesNothingThatFollows) {
    const std::string file = "BEGIN:VEVENT\nUID:a\nDTSTART:20260909T080000Z\nSUMMARY:one" +
                             std::string{'\0'} + "two\nEND:VEVENT\n" + event("b");
    const auto events = read(file);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].title, "one\uFFFDtwo");
    EXPECT_EQ(events[1].identifier, "b");
}

TEST(LocalFile, OtherControlCharactersAreKept) {
    const auto events = read("BEGIN:VEVENT\nDTSTART:20260909T080000Z\nSUMMARY: a\x01"
                             "b\x1B[31m\x7F \nEND:VEVENT\n");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].title, " a\x01"
                               "b\x1B[31m\x7F ");
}

TEST(LocalFile, AColonInAQuotedParameterIsNotTheEndOfTheName) {
    const auto events =
        read("BEGIN:VEVENT\nDTSTART:20260909T080000Z\n"
             "SUMMARY;X=\"a:b;LANGUAGE=c\";LANGUAGE=de:title: with colon\nEND:VEVENT\n");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].title, "title: with colon");
}

TEST(LocalFile, ACarriageReturnInATextIsALineBreakAndOneAtItsEndIsNone) {
    const auto titleOf = [](const std::string& line) {
        const auto events =
            read("BEGIN:VEVENT\r\nDTSTART:20260909T080000Z\r\n" + line + "END:VEVENT\r\n");
        return events.empty() ? "(none)" : events[0].title.value_or("(no title)");
    };
    EXPECT_EQ(titleOf("SUMMARY:one\rtwo\r\n"), "one\ntwo");
    EXPECT_EQ(titleOf("SUMMARY:one\r\\ntwo\r\n"), "one\ntwo");
    EXPECT_EQ(titleOf("SUMMARY:one\r\r\n"), "one") << "line ends translated twice";
    EXPECT_EQ(titleOf("SUMMARY:one\r\r\n  two\r\r\n"), "one two") << "folded";
    EXPECT_EQ(titleOf("SUMMARY:one\ttwo\r\n"), "one\ttwo");
    EXPECT_EQ(titleOf("SUMMARY:\tone\r\n"), "\tone");
}

TEST(LocalFile, ATitleOfTenThousandCharactersIsWhole) {
    std::string title;
    std::string line = "SUMMARY:";
    for (int number = 0; number < 10'000; ++number) {
        title += "é";
        line += number % 30 == 29 ? "\xC3\r\n \xA9" : "é"; // folds come within characters too
    }
    const auto events =
        read("BEGIN:VEVENT\r\nDTSTART:20260909T080000Z\r\n" + line + "\r\nEND:VEVENT\r\n");
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].title, title);
}

TEST(LocalFile, ParametersAreFoundByTheirNames) {
    std::string_view text = R"(DTSTART;x-a="q;TZID=no","r";tzid="Europe/Berlin";VALUE=DATE,X:v)";
    const ContentLine line = takeLine(text);
    EXPECT_TRUE(line.is("dtstart"));
    EXPECT_EQ(line.parameter("TZID"), "Europe/Berlin");
    EXPECT_EQ(line.parameter("value"), "DATE,X") << "a list without quotes is one value";
    EXPECT_EQ(line.parameter("X-A"), "q;TZID=no");
    EXPECT_EQ(line.parameter("MISSING"), "");
    EXPECT_EQ(line.value, "v");
}

TEST(LocalFile, DamagedFilesGiveValidTextAndNeverEndTheProgram) {
    const std::string whole =
        calendar(event("a") +
                 "BEGIN:VTIMEZONE\r\nTZID:X\r\nBEGIN:STANDARD\r\nDTSTART:19961027T030000\r\n"
                 "TZOFFSETFROM:+0200\r\nTZOFFSETTO:+0100\r\nRRULE:FREQ=YEARLY;BYMONTH=10;BYDAY="
                 "-1SU\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n"
                 "BEGIN:VEVENT\r\nUID:s\r\nDTSTART;TZID=X:20260909T080000\r\nDURATION:PT1H\r\n"
                 "RRULE:FREQ=MONTHLY;BYDAY=2MO,-1FR;BYSETPOS=1;UNTIL=20271231T000000Z\r\n"
                 "RDATE;VALUE=PERIOD:20260910T080000Z/PT1H,20260911T080000Z/20260911T090000Z\r\n"
                 "EXDATE:20260909T080000Z\r\nRECURRENCE-ID:20260909T080000Z\r\nEND:VEVENT\r\n");
    const ScopedVariable zone{"TZ", "Europe/Berlin"};
    std::mt19937 random{3};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (int round = 0; round < 3000; ++round) {
        std::string damaged = whole;
        for (std::size_t count = 1 + random() % 8; count > 0; --count) {
            const std::size_t position = random() % damaged.size();
            switch (random() % 4) {
            case 0:
                damaged[position] = static_cast<char>(random());
                break;
            case 1:
                damaged.erase(position, random() % 20);
                break;
            case 2:
                damaged.insert(position, damaged.substr(random() % damaged.size(), random() % 40));
                break;
            default:
                damaged[position] = "0123456789;:,=\r\n\"-T"[random() % 19];
            }
        }
        ZoneCatalogue zones;
        UserClock clock;
        const auto events = readCalendarFile(damaged, "f", zones).events;
        WorkBudget budget{stepsOfFile(events.size())};
        for (const Occurrence& found :
             occurrences(events, {at("2026-01-01"), at("2027-01-01")}, clock, budget)) {
            EXPECT_LE(found.start, found.end);
            EXPECT_TRUE(MCPStdio::isValidUTF8(found.event->title.value_or("")));
            EXPECT_TRUE(MCPStdio::isValidUTF8(found.event->identifier));
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace velmiro::local
