// Completing a reminder changes the lines concerned and leaves every other byte of the file.

#include "tests/velmiro_mcp/platform/local/editing/CompletionTest.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderCompletion.hpp"
#include "velmiro_mcp/platform/local/zones/ZoneCatalogue.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;

class LocalCompletion : public CompletionTest {};

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

} // namespace velmiro::local
