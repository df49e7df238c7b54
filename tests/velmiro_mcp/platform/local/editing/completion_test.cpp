// Completing a reminder changes the lines concerned and leaves every other byte of the file.

#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderCompletion.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class LocalCompletion : public testing::Test {
protected:
    [[nodiscard]] std::string path() const { return home.reminders() + "/Home/a.ics"; }

    /// Returns the file after completing one of its reminders, with NOW for each current time.
    std::string completed(std::string_view file, const std::string& identifier = "a") {
        home.writeReminder("Home", "a.ics", file);
        EXPECT_TRUE(database->completeReminder(identifier));
        return withoutNow(readFile(path()));
    }
    static std::string withoutNow(const std::string& text) {
        return std::regex_replace(text, std::regex{"20[0-9]{6}T[0-9]{6}Z(?=\r?\n)"}, "NOW");
    }
    /// Returns the other file of the list: the next reminder of the series.
    std::string next() {
        for (const std::string& name : namesIn(home.reminders() + "/Home")) {
            if (name != "a.ics") {
                return readFile(home.reminders() + "/Home/" + name);
            }
        }
        return "";
    }
    /// Returns the DTSTART, DUE and RRULE lines of the reminder after one with these lines.
    Texts nextLines(const std::string& lines) {
        completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\n" + lines + "END:VTODO\nEND:VCALENDAR\n");
        std::istringstream text{next()};
        Texts found;
        for (std::string line; std::getline(text, line);) {
            if (line.starts_with("DTSTART") || line.starts_with("DUE") ||
                line.starts_with("RRULE")) {
                found.push_back(line);
            }
        }
        fs::remove_all(home.reminders());
        return found;
    }

    ScopedVariable zone{"TZ", "Europe/Berlin"};
    TemporaryHome home;
    std::unique_ptr<EventDatabase> database = openEventDatabase();
};

constexpr const char* doneLines = "COMPLETED:NOW\nLAST-MODIFIED:NOW\nPERCENT-COMPLETE:100\n"
                                  "SEQUENCE:1\nSTATUS:COMPLETED\n";

} // namespace

TEST_F(LocalCompletion, AddsTheLinesThatAreNotThere) {
    EXPECT_EQ(completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSUMMARY:Milk\nEND:VTODO\n"
                        "END:VCALENDAR\n"),
              "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSUMMARY:Milk\n" + std::string{doneLines} +
                  "END:VTODO\nEND:VCALENDAR\n");
}

TEST_F(LocalCompletion, ChangesTheLinesThatAreThereInTheirPlaces) {
    EXPECT_EQ(completed("BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSTATUS:IN-PROCESS\r\nUID:a\r\n"
                        "sequence:41\r\nPERCENT-COMPLETE;X-A=1:50\r\nSUMMARY:Milk\r\n"
                        "LAST-MODIFIED:20200101T000000\r\n Z\r\nCOMPLETED:x\r\nEND:VTODO\r\n"
                        "END:VCALENDAR\r\n"),
              "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSTATUS:COMPLETED\r\nUID:a\r\nSEQUENCE:42\r\n"
              "PERCENT-COMPLETE:100\r\nSUMMARY:Milk\r\nLAST-MODIFIED:NOW\r\nCOMPLETED:NOW\r\n"
              "END:VTODO\r\nEND:VCALENDAR\r\n");
}

TEST_F(LocalCompletion, LeavesEveryOtherByteAsItIs) {
    // Strange folds, mixed line breaks, trailing blanks, invalid UTF-8, lines without a colon,
    // properties of the same name in other components, no line break at the end.
    const std::string before =
        "\xEF\xBB\xBF"
        "BEGIN:VCALENDAR\r\nX-WR-CALNAME:caf\xE9 \r\n\r\n"
        "BEGIN:VTODO\nUID:other\n\nSTATUS:NEEDS-ACTION\nEND:VTODO\n"
        "BEGIN:VTODO\r\nUID\r\n :\r\n\ta\r\nno colon here\r\nSUMMARY:  long\n  folded\r\n"
        "\t title \xF0\x9F\r\n \xA5\x9B  \r\nX-\x01:\x02\r\n";
    const std::string after = "BEGIN:VALARM\r\nSTATUS:NEEDS-ACTION\r\nTRIGGER:-PT1H\r\n"
                              "END:VALARM\r\nX-LATE:\xFF\nEND:VTODO\r\n"
                              "BEGIN:VEVENT\nUID:a\nDTSTART:20261014\nSTATUS:TENTATIVE\n"
                              "END:VEVENT\nEND:VCALENDAR";
    std::string done = doneLines;
    done = std::regex_replace(done, std::regex{"\n"}, "\r\n");
    EXPECT_EQ(completed(before + after), before + done + after);
}

TEST_F(LocalCompletion, ACancelledOneCanBeDoneAfterAll) {
    EXPECT_EQ(completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSTATUS:CANCELLED\nEND:VTODO\n"
                        "END:VCALENDAR\n"),
              "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSTATUS:COMPLETED\nCOMPLETED:NOW\n"
              "LAST-MODIFIED:NOW\nPERCENT-COMPLETE:100\nSEQUENCE:1\nEND:VTODO\nEND:VCALENDAR\n");
}

TEST_F(LocalCompletion, NewLinesEndAsTheFirstLineOfTheReminderDoes) {
    EXPECT_EQ(completed("BEGIN:VCALENDAR\r\nBEGIN:VTODO\nUID:a\r\nSUMMARY:Milk\r\nEND:VTODO\r\n"
                        "END:VCALENDAR\r\n"),
              "BEGIN:VCALENDAR\r\nBEGIN:VTODO\nUID:a\r\nSUMMARY:Milk\r\n" + std::string{doneLines} +
                  "END:VTODO\r\nEND:VCALENDAR\r\n");
}

TEST_F(LocalCompletion, RemovesSecondLinesOfAChangedProperty) {
    EXPECT_EQ(completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSTATUS:NEEDS-ACTION\n"
                        "STATUS:CANCELLED\nEND:VTODO\nEND:VCALENDAR\n"),
              "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSTATUS:COMPLETED\nCOMPLETED:NOW\n"
              "LAST-MODIFIED:NOW\nPERCENT-COMPLETE:100\nSEQUENCE:1\nEND:VTODO\nEND:VCALENDAR\n");
}

TEST_F(LocalCompletion, TimesAreThoseOfNowInUTC) {
    home.writeReminder("Home", "a.ics", reminderFile(""));
    const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    ASSERT_TRUE(database->completeReminder("todo@example.org"));
    const std::string text = readFile(path());
    const auto found = text.find("\r\nCOMPLETED:");
    ASSERT_NE(found, std::string::npos);
    std::string stamp = text.substr(found + 12, 16); // 20261014T130000Z
    stamp.insert(13, ":").insert(11, ":").insert(6, "-").insert(4, "-");
    const Instant written = at(stamp);
    EXPECT_GE(written, before);
    EXPECT_LE(written, before + std::chrono::minutes{1});
}

TEST_F(LocalCompletion, AReminderWithoutUIDIsFoundByItsPath) {
    const std::string result =
        completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:one\nEND:VTODO\nBEGIN:VTODO\n"
                  "SUMMARY:two\nEND:VTODO\nEND:VCALENDAR\n",
                  "Home/a.ics#2");
    EXPECT_EQ(result, "BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:one\nEND:VTODO\nBEGIN:VTODO\n"
                      "SUMMARY:two\n" +
                          std::string{doneLines} + "END:VTODO\nEND:VCALENDAR\n");
}

TEST_F(LocalCompletion, ACompletedOneIsSavedAgain) {
    const std::string once = "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nCOMPLETED:20200101T000000Z\n"
                             "RRULE:FREQ=DAILY\nDUE:20261014T130000Z\nSEQUENCE:3\nEND:VTODO\n"
                             "END:VCALENDAR\n";
    EXPECT_EQ(completed(once),
              "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nCOMPLETED:NOW\nRRULE:FREQ=DAILY\nDUE:NOW\n"
              "SEQUENCE:4\nLAST-MODIFIED:NOW\nPERCENT-COMPLETE:100\nSTATUS:COMPLETED\n"
              "END:VTODO\nEND:VCALENDAR\n");
    EXPECT_EQ(next(), "") << "what is done already does not repeat again";
    EXPECT_TRUE(database->reminder("a")->completed);
}

TEST_F(LocalCompletion, AnIdentifierThatNamesTwoChangesNeither) {
    const auto failure = [&](const std::string& storedAt) {
        try {
            database->completeReminder("a", storedAt);
        } catch (const PlatformError& error) {
            return std::string{error.what()};
        }
        return std::string{"(no failure)"};
    };
    const std::string several = "more than one reminder has this id";
    const std::string one = "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nEND:VTODO\nEND:VCALENDAR\n";
    home.writeReminder("Home", "a.ics", one);
    for (const std::string other : {"Home/b.ics", "Work/a.ics", "Away/z.ics"}) {
        const std::string list = other.substr(0, 4);
        home.writeReminder(list, other.substr(5), one);
        EXPECT_EQ(failure(""), several) << other;
        EXPECT_EQ(failure("Home/a.ics"), several) << other;
        EXPECT_THROW(database->reminder("a"), PlatformError) << other;
        EXPECT_EQ(readFile(path()), one);
        EXPECT_EQ(readFile(home.reminders() + "/" + other), one);
        fs::remove(home.reminders() + "/" + other);
    }
    EXPECT_EQ(failure("Work/a.ics"), several) << "it has been moved since";
    EXPECT_EQ(readFile(path()), one);
    EXPECT_EQ(failure(database->reminder("a")->storedAt), "(no failure)");
    // A reminder without UID is named after its file, and another can have that name as its UID.
    const std::string twice = "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:Home/a.ics\nEND:VTODO\n"
                              "BEGIN:VTODO\nEND:VTODO\nEND:VCALENDAR\n";
    home.writeReminder("Home", "a.ics", twice);
    EXPECT_THROW(database->completeReminder("Home/a.ics"), PlatformError);
    EXPECT_EQ(readFile(path()), twice);
}

TEST_F(LocalCompletion, AFileThatTwoLinksLeadToIsOneReminder) {
    home.writeReminder("Home", "a.ics", reminderFile(""));
    fs::create_directory_symlink("Home", home.reminders() + "/Link");
    fs::create_symlink("a.ics", home.reminders() + "/Home/b.ics");
    EXPECT_TRUE(database->completeReminder("todo@example.org"));
    EXPECT_NE(readFile(path()).find("STATUS:COMPLETED"), std::string::npos);
}

TEST_F(LocalCompletion, ASequenceTooLargeOrNotANumberDoesNoHarm) {
    const auto sequence = [&](const std::string& given) {
        const std::string text =
            completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSEQUENCE:" + given +
                      "\nEND:VTODO\nEND:VCALENDAR\n");
        const auto found = text.find("SEQUENCE:") + 9;
        return text.substr(found, text.find('\n', found) - found);
    };
    EXPECT_EQ(sequence("2147483647"), "2147483647");
    EXPECT_EQ(sequence("-5"), "1");
    EXPECT_EQ(sequence("x"), "1");
    EXPECT_EQ(sequence(""), "1");
}

TEST_F(LocalCompletion, ARecurringOneIsDoneAndTheNextIsANewReminder) {
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

TEST_F(LocalCompletion, TheNextOneOfASecondCalendarInAFileLeavesTheRestOfTheFileBehind) {
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

TEST_F(LocalCompletion, AnOlderVersionIsNotChangedBecauseItWouldSupersedeTheOneThatCounts) {
    const std::string file = "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nEND:VTODO\nBEGIN:VTODO\nUID:a\n"
                             "END:VTODO\nEND:VCALENDAR\n";
    ZoneCatalogue zones;
    const Instant now = at("2026-10-14T13:00:00Z");
    EXPECT_NO_THROW(velmiro::local::completed(file, 1, now, zones));
    try {
        velmiro::local::completed(file, 0, now, zones);
        FAIL() << "was completed";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "the file of this reminder cannot be changed without changing "
                                   "more; nothing was saved");
    }
}

TEST_F(LocalCompletion, TheNextOneFollowsTheRule) {
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

TEST_F(LocalCompletion, CountAndUntilEndTheSeries) {
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;COUNT=3;INTERVAL=1\n"),
              (Texts{"DUE:20261015T130000Z", "RRULE:FREQ=DAILY;COUNT=2;INTERVAL=1"}));
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;COUNT=3\n"
                        "EXDATE:20261015T130000Z\n"),
              (Texts{"DUE:20261016T130000Z", "RRULE:FREQ=DAILY;COUNT=1"}));
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;COUNT=1\n"), Texts{});
    EXPECT_EQ(nextLines("DUE:20261014T130000Z\nRRULE:FREQ=DAILY;UNTIL=20261014T235959Z\n"),
              Texts{});
}

TEST_F(LocalCompletion, TheLastOfASeriesIsDoneLikeAnyOther) {
    const std::string text = completed("BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nDUE:20261014T130000Z\n"
                                       "RRULE:FREQ=DAILY;COUNT=1\nEND:VTODO\nEND:VCALENDAR\n");
    EXPECT_NE(text.find("STATUS:COMPLETED"), std::string::npos);
    EXPECT_NE(text.find("RRULE:FREQ=DAILY;COUNT=1"), std::string::npos);
    EXPECT_EQ(next(), "");
}

TEST_F(LocalCompletion, ARuleWrittenToExhaustTheReaderEnds) {
    const auto since = std::chrono::steady_clock::now();
    EXPECT_EQ(nextLines("DUE:20260101T000000Z\nRRULE:FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30\n"),
              Texts{});
    EXPECT_EQ(nextLines("DUE:20260101T000000Z\nRRULE:FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30\n"),
              Texts{});
    EXPECT_EQ(nextLines("DUE:20260101T000000Z\nRRULE:FREQ=SECONDLY\n").front(),
              "DUE:20260101T000001Z");
    EXPECT_LT(std::chrono::steady_clock::now() - since, std::chrono::seconds{10});
}

TEST_F(LocalCompletion, AnUnwritableFileIsAnErrorAndStays) {
    // Root may write everything, so it becomes another user.
    const bool isRoot = geteuid() == 0;
    const uid_t somebody = isRoot ? 65'534 : geteuid();
    const std::string before = reminderFile("DUE:20261014T130000Z\r\nRRULE:FREQ=DAILY\r\n");
    home.writeReminder("Home", "a.ics", before);
    fs::permissions(path(), fs::perms::owner_read);
    ASSERT_EQ(chown(home.path().c_str(), somebody, getegid()), 0);
    for (const auto& entry : fs::recursive_directory_iterator{home.path()}) {
        ASSERT_EQ(chown(entry.path().c_str(), somebody, getegid()), 0);
    }
    ASSERT_EQ(seteuid(somebody), 0);
    EXPECT_THROW(database->completeReminder("todo@example.org"), PlatformError);
    ASSERT_EQ(seteuid(getuid()), 0);
    EXPECT_EQ(readFile(path()), before);
    EXPECT_EQ(namesIn(home.reminders() + "/Home"), Texts{"a.ics"}) << "nor is there a next one";
}

TEST_F(LocalCompletion, AnEditThatIsBeingWrittenIsAwaitedAndCompletedToo) {
    const std::string file = reminderFile("DUE:20261014T130000Z\r\nRRULE:FREQ=DAILY\r\n");
    home.writeReminder("Home", "a.ics", file);
    // The attempt on the version before the edit has already added the next one of its series.
    const int editor = open(path().c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(editor, 0);
    std::thread soon{[&] {
        std::this_thread::sleep_for(std::chrono::milliseconds{100});
        EXPECT_EQ(pwrite(editor, "20261101", 8, static_cast<off_t>(file.find("20261014"))), 8);
        close(editor);
    }};
    EXPECT_TRUE(database->completeReminder("todo@example.org"));
    soon.join();
    const std::string done = readFile(path());
    EXPECT_NE(done.find("STATUS:COMPLETED"), std::string::npos) << done;
    EXPECT_NE(done.find("DUE:20261101T130000Z"), std::string::npos) << done;
    EXPECT_NE(next().find("DUE:20261102T130000Z"), std::string::npos) << next();
    EXPECT_EQ(namesIn(home.reminders() + "/Home").size(), 2U) << "one next reminder, not two";
}

TEST_F(LocalCompletion, NothingOfAWriterThatReplacesInALoopIsLost) {
    const auto version = [](int number) {
        return "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nSUMMARY:version " + std::to_string(number) +
               "\nEND:VTODO\nEND:VCALENDAR\n";
    };
    home.writeReminder("Home", "a.ics", version(0));
    // A writer that always interferes would block completion forever. So it slows down after each
    // refusal and speeds up after each success: it interferes often, not always, on any machine.
    constexpr std::int64_t shortest = 20'000; // nanoseconds
    std::atomic<std::int64_t> pause = 5 * shortest;
    std::atomic<bool> stop = false;
    std::atomic<bool> lost = false;
    std::atomic<int> written = 0;
    // An older version may briefly appear in place of the one just written.
    const auto appears = [&](int number) {
        const std::string title = "SUMMARY:version " + std::to_string(number) + "\n";
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{20};
        while (readFile(path()).find(title) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::nanoseconds{shortest});
        }
        return true;
    };
    std::thread writer{[&] {
        const std::string aside = home.reminders() + "/aside";
        while (!stop && !lost) {
            writeFile(aside, version(++written));
            fs::rename(aside, path());
            lost = !appears(written);
            std::this_thread::sleep_for(std::chrono::nanoseconds{pause});
        }
    }};
    int done = 0;
    int seen = 0;
    while (done < 50 && !lost && !HasFailure()) {
        try {
            EXPECT_TRUE(database->completeReminder("a"));
            ++done;
            pause = std::max(shortest, pause * 3 / 4);
        } catch (const PlatformError& error) {
            EXPECT_STREQ(error.what(),
                         "another program keeps changing this reminder; nothing was saved");
            pause = pause * 2;
        }
        const int number = std::stoi(database->reminder("a")->title->substr(8));
        EXPECT_GE(number, seen) << "an older version came back";
        seen = number;
    }
    stop = true;
    writer.join();
    ASSERT_FALSE(lost) << "version " << written;
    ASSERT_TRUE(database->completeReminder("a"));
    const auto last = database->reminder("a");
    EXPECT_EQ(last->title, "version " + std::to_string(written));
    EXPECT_TRUE(last->completed);
    EXPECT_EQ(namesIn(home.reminders() + "/Home"), Texts{"a.ics"});
}

TEST_F(LocalCompletion, DamagedFilesAreChangedCorrectlyOrNotAtAll) {
    // Bytes are removed, duplicated and overwritten. A completed reminder reads back as completed,
    // and no reminder is lost; after an error the file is unchanged.
    const std::string whole = "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:a\r\nSTATUS:NEEDS-ACTION\r\n"
                              "DUE:20261014T130000Z\r\nRRULE:FREQ=DAILY\r\nBEGIN:VALARM\r\n"
                              "TRIGGER:-PT1H\r\nEND:VALARM\r\nEND:VTODO\r\nBEGIN:VTODO\r\n"
                              "UID:b\r\n fold\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    unsigned random = 12345;
    const auto number = [&](std::size_t below) {
        random = random * 1'103'515'245 + 12'345;
        return (random >> 8) % below;
    };
    int changed = 0;
    for (int round = 0; round < 200; ++round) {
        std::string text = whole;
        for (int edit = 0; edit < 3; ++edit) {
            const std::size_t position = number(text.size());
            switch (number(3)) {
            case 0:
                text.erase(position, number(12));
                break;
            case 1:
                text.insert(position, text.substr(number(text.size()), number(40)));
                break;
            default:
                text[position] = "\r\n :;\0\xFFx"[number(8)];
            }
        }
        home.writeReminder("Home", "a.ics", text);
        for (const Reminder& reminder : fetched(*database, {true, std::nullopt, nullptr})) {
            const auto count = fetched(*database, {true, std::nullopt, nullptr}).size();
            try {
                if (!database->completeReminder(reminder.identifier)) {
                    continue;
                }
                ++changed;
                ASSERT_TRUE(database->reminder(reminder.identifier)->completed) << text;
                ASSERT_GE(fetched(*database, {true, std::nullopt, nullptr}).size(), count);
            } catch (const PlatformError&) {
                ASSERT_EQ(readFile(path()), text);
            }
            break;
        }
        fs::remove_all(home.reminders());
    }
    EXPECT_GT(changed, 100);
}

TEST_F(LocalCompletion, TheRestOfACountIsFoundHoweverTheRuleIsWritten) {
    EXPECT_EQ(nextLines("DUE:20260910T080000Z\nRRULE:X-FOO=1;freq=daily; Count = 5;BYDAY=\n"),
              (Texts{"DUE:20260911T080000Z", "RRULE:X-FOO=1;freq=daily;COUNT=4;BYDAY="}));
}

TEST_F(LocalCompletion, AnOccurrenceBesidesTheRuleUsesUpOneOfACountAndLeavesOne) {
    EXPECT_EQ(nextLines("DUE:20260910T080000Z\nRRULE:FREQ=WEEKLY;COUNT=5\n"
                        "RDATE:20260911T080000Z\n"),
              (Texts{"DUE:20260911T080000Z", "RRULE:FREQ=WEEKLY;COUNT=4"}));
    EXPECT_EQ(nextLines("DUE:20260910T080000Z\nRRULE:FREQ=WEEKLY;COUNT=1\n"
                        "RDATE:20260911T080000Z\n"),
              (Texts{"DUE:20260911T080000Z", "RRULE:FREQ=WEEKLY;COUNT=1"}));
}

TEST_F(LocalCompletion, TheEndOfASeriesIsReadInTheZoneOfItsFile) {
    // The day after at nine is half past three in UTC, half an hour before the end.
    completed("BEGIN:VCALENDAR\nBEGIN:VTIMEZONE\nTZID:Site\nBEGIN:STANDARD\n"
              "DTSTART:19700101T000000\nTZOFFSETFROM:+0530\nTZOFFSETTO:+0530\nEND:STANDARD\n"
              "END:VTIMEZONE\nBEGIN:VTODO\nUID:a\nDUE;TZID=Site:20261014T090000\n"
              "RRULE:FREQ=DAILY;UNTIL=20261015T040000Z\nEND:VTODO\nEND:VCALENDAR\n");
    EXPECT_NE(next().find("DUE;TZID=Site:20261015T090000"), std::string::npos);
}

TEST_F(LocalCompletion, ANameOfAZoneWithAColonStaysWhole) {
    const std::string name = "(UTC+02:00) Athens, Bucharest";
    EXPECT_EQ(nextLines("DUE;TZID=" + name + ":20260910T080000\nRRULE:FREQ=DAILY\n"),
              (Texts{"DUE;TZID=" + name + ":20260911T080000", "RRULE:FREQ=DAILY"}));
}

} // namespace velmiro::local
