#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"
#include "velmiro_mcp/ports/SupportFolder.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/files/Files.hpp"
#include "velmiro_mcp/platform/local/files/Vdir.hpp"

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Folders of calendars: which there are, their titles, and which files in them are skipped.

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

Texts titles() {
    Texts found;
    for (const Calendar& calendar : openEventDatabase()->calendars(EntityType::event)) {
        found.push_back(calendar.title);
    }
    return found;
}

/// Returns the text of the error that a call throws.
template <typename Call>
std::string failureOf(const Call& call) {
    try {
        call();
    } catch (const PlatformError& error) {
        return error.what();
    }
    return "(no failure)";
}

std::string simple(const std::string& title) {
    return "BEGIN:VEVENT\nUID:" + title + "\nDTSTART:20260909T080000Z\nSUMMARY:" + title +
           "\nEND:VEVENT\n";
}

Texts septemberTitles() {
    Texts found;
    for (const std::string& text : listed("2026-09-01", "2026-10-01")) {
        found.push_back(text.substr(text.find(' ') + 1));
    }
    return found;
}

TEST(LocalCalendars, AnEmptyFolderHoldsNone) {
    const TemporaryHome home;
    std::filesystem::create_directories(home.calendars());
    EXPECT_EQ(titles(), Texts{});
    EXPECT_FALSE(openEventDatabase()->defaultCalendarForNewEvents());
    EXPECT_EQ(listed("2026-09-01", "2026-10-01"), Texts{});
}

TEST(LocalCalendars, AreInTheOrderOfTheirFoldersByteByByte) {
    TemporaryHome home;
    for (const char* name : {"b", "a", "B", "Ä", "10", "9"}) {
        home.write(name, "x.ics", "");
    }
    EXPECT_EQ(titles(), (Texts{"10", "9", "B", "a", "b", "Ä"}));
}

TEST(LocalCalendars, HaveTheTitleInTheirFolder) {
    TemporaryHome home;
    home.write("a", "displayname", "  Work – Büro\r\n");
    home.write("b", "displayname", " \n");
    home.write("c", "displayname",
               "Gr\xFC\xDF"
               "e");
    home.write("d", "displayname", std::string(100'000, 'x'));
    std::filesystem::create_directories(home.calendars() + "/e/displayname");
    home.write("f\xFF", "x.ics", "");
    home.write("g", "displayname", "\u00A0Ferien\u3000");
    home.write("h ", "x.ics", "");
    home.write(" ", "x.ics", "");
    EXPECT_EQ(titles(), (Texts{" ", "Work – Büro", "b", "Gr\uFFFD\uFFFDe", "d", "e", "f\uFFFD",
                               "Ferien", "h"}));
}

TEST(LocalCalendars, WithANameThatIsNotUTF8CanBeUsed) {
    TemporaryHome home;
    home.write("f\xFF", "x.ics", simple("here"));
    const auto database = openEventDatabase();
    const auto calendars = database->calendars(EntityType::event);
    ASSERT_EQ(calendars.size(), 1U);
    EXPECT_EQ(database->events(at("2026-09-01"), at("2026-10-01"), &calendars.front()).size(), 1U);
    EXPECT_NO_THROW(database->saveEvent({"t", at("2026-09-09"), at("2026-09-10"), false, {}, {}},
                                        calendars[0]));
}

TEST(LocalCalendars, AreFoldersAndLinksToFoldersThatAreNotHidden) {
    TemporaryHome home;
    const TemporaryFolder elsewhere;
    writeFile(elsewhere / "a.ics", simple("linked"));
    home.write("Real", "a.ics", simple("real"));
    home.write(".hidden", "a.ics", simple("hidden"));
    writeFile(home.calendars() + "/file", "");
    std::filesystem::create_directory_symlink(elsewhere.path(), home.calendars() + "/Link");
    EXPECT_EQ(titles(), (Texts{"Link", "Real"}));
    EXPECT_EQ(septemberTitles(), (Texts{"linked", "real"}));
}

TEST(LocalCalendars, ADanglingLinkIsAnErrorUnlessAnotherCalendarIsAskedFor) {
    TemporaryHome home;
    home.write("Real", "a.ics", simple("real"));
    for (const std::string target : {"/nowhere", "Lost"}) { // gone, or its own target
        std::filesystem::create_directory_symlink(target, home.calendars() + "/Lost");
        EXPECT_EQ(titles(), (Texts{"Lost", "Real"}));
        EXPECT_EQ(failureOf(septemberTitles),
                  "the calendar ‘Lost’ cannot be read: " +
                      std::string{target == "Lost" ? "Too many levels of symbolic links"
                                                   : "No such file or directory"});
        const auto database = openEventDatabase();
        const auto calendars = database->calendars(EntityType::event);
        EXPECT_EQ(database->events(at("2026-09-01"), at("2026-10-01"), &calendars[1]).size(), 1U);
        EXPECT_THROW(database->events(at("2026-09-01"), at("2026-10-01"), calendars.data()),
                     PlatformError);
        EXPECT_EQ(database->defaultCalendarForNewEvents().value_or(Calendar{}).title, "Real");
        EXPECT_EQ(failureOf([&] {
                      database->saveEvent({"t", at("2026-09-09"), at("2026-09-10"), false, {}, {}},
                                          calendars[0]);
                  }).substr(0, 42),
                  "the calendar ‘Lost’ cannot be written:");
        std::filesystem::remove(home.calendars() + "/Lost");
    }
}

TEST(LocalCalendars, ADanglingLinkAsTheRootIsAnErrorNotADenial) {
    const TemporaryHome home;
    std::filesystem::create_directories(home.calendars());
    std::filesystem::remove(home.calendars());
    std::filesystem::create_directory_symlink("/nowhere", home.calendars());
    EXPECT_EQ(openEventDatabase()->authorizationStatus(EntityType::event),
              AuthorizationStatus::fullAccess);
    EXPECT_EQ(failureOf(titles), "the calendars cannot be read: No such file or directory");
    EXPECT_EQ(failureOf(septemberTitles),
              "the calendars cannot be read: No such file or directory");
    EXPECT_EQ(failureOf([] { openEventDatabase()->defaultCalendarForNewEvents(); }),
              "the calendars cannot be read: No such file or directory");
}

TEST(LocalCalendars, OneWithoutPermissionIsAnErrorUnlessAnotherIsAskedFor) {
    TemporaryHome home;
    home.write("Private", "a.ics", simple("private"));
    home.write("Work", "a.ics", simple("work"));
    home.openTheWay();
    ASSERT_EQ(chmod(home.calendars().c_str(), 0777), 0);
    for (const mode_t mode : {0000U, 0444U, 0111U}) { // not even entered, or not read
        ASSERT_EQ(chmod((home.calendars() + "/Private").c_str(), mode), 0);
        const Nobody nobody;
        if (!nobody.allowed()) {
            GTEST_SKIP() << "this process cannot act as another user";
        }
        EXPECT_EQ(titles(), (Texts{"Private", "Work"}));
        EXPECT_EQ(failureOf(septemberTitles),
                  "the calendar ‘Private’ cannot be read: Permission denied")
            << mode;
        const auto database = openEventDatabase();
        const auto calendars = database->calendars(EntityType::event);
        EXPECT_EQ(database->events(at("2026-09-01"), at("2026-10-01"), &calendars[1]).size(), 1U);
    }
}

TEST(LocalCalendars, FilesThatCannotBeReadHideNoOthers) {
    TemporaryHome home;
    home.write("Work", "a.ics", simple("first"));
    home.write("Work", "b.ics", "this is no calendar");
    home.write("Work", "c.ics", "BEGIN:VCALENDAR\nBEGIN:VEVENT\nDTSTART:2026");
    home.write("Work", "d.ics", "");
    const std::string folder = home.calendars() + "/Work/";
    std::filesystem::create_directory(folder + "e.ics");
    ASSERT_EQ(mkfifo((folder + "f.ics").c_str(), S_IRUSR | S_IWUSR), 0);
    std::filesystem::create_symlink("g.ics", folder + "g.ics");
    std::filesystem::create_symlink("/nowhere", folder + "h.ics");
    std::filesystem::create_symlink("/dev/zero", folder + "i.ics");
    home.write("Work", "j.ics", "BEGIN:VEVENT\n");
    std::filesystem::resize_file(folder + "j.ics", 200UL << 20);
    home.write("Work", "ö name with spaces\nand a line.ics", simple("last"));
    EXPECT_EQ(septemberTitles(), (Texts{"first", "last"}));
}

TEST(LocalCalendars, OnlyFilesOfTheFormatAreRead) {
    TemporaryHome home;
    home.write("Work", ".hidden.ics", simple("hidden"));
    home.write("Work", "draft.ics.tmp", simple("temporary"));
    home.write("Work", "event", simple("plain"));
    home.write("Work", "note.txt", simple("text"));
    home.write("Work", "event.ics", simple("event"));
    EXPECT_EQ(septemberTitles(), (Texts{"event"}));
}

TEST(LocalCalendars, AFileAsLargeAsAllowedIsReadAndALargerIsNot) {
    TemporaryHome home;
    home.write("Work", "a.ics",
               simple("whole") + std::string(largestItem - simple("whole").size(), '\n'));
    home.write("Work", "b.ics",
               simple("larger") + std::string(largestItem - simple("larger").size() + 1, '\n'));
    EXPECT_EQ(septemberTitles(), (Texts{"whole"}));
}

TEST(LocalCalendars, ReadingTouchesNothing) {
    TemporaryHome home;
    home.write("Work", "a.ics", simple("first"));
    home.write("Work", "b.ics", "broken");
    const std::string folder = home.calendars() + "/Work";
    const auto before = std::filesystem::last_write_time(folder);
    const auto names = namesIn(folder);
    listed("2026-09-01", "2026-10-01");
    EXPECT_EQ(namesIn(folder), names);
    EXPECT_EQ(std::filesystem::last_write_time(folder), before);
    EXPECT_EQ(readFile(folder + "/b.ics"), "broken");
}

TEST(LocalCalendars, WithoutPermissionAreDenied) {
    TemporaryHome home;
    home.write("Work", "a.ics", simple("first"));
    home.write("Work", "b.ics", simple("second"));
    ASSERT_EQ(chmod(home.path().c_str(), 0755), 0);
    const auto database = openEventDatabase();
    ASSERT_EQ(chmod(home.calendars().c_str(), 0555), 0);
    const Nobody nobody;
    if (!nobody.allowed()) {
        GTEST_SKIP() << "this process cannot act as another user";
    }
    EXPECT_EQ(database->authorizationStatus(EntityType::event), AuthorizationStatus::denied);
}

TEST(LocalCalendars, AFileWithoutPermissionHidesNoOthers) {
    TemporaryHome home;
    home.write("Work", "a.ics", simple("first"));
    home.write("Work", "b.ics", simple("second"));
    home.openTheWay();
    ASSERT_EQ(chmod((home.calendars() + "/Work/a.ics").c_str(), 0), 0);
    const Nobody nobody;
    if (!nobody.allowed()) {
        GTEST_SKIP() << "this process cannot act as another user";
    }
    EXPECT_EQ(septemberTitles(), (Texts{"second"}));
}

TEST(LocalCalendars, TheDefaultIsTheFirstThatCanBeWritten) {
    TemporaryHome home;
    home.write("A", "a.ics", "");
    home.write("B", "b.ics", "");
    ASSERT_EQ(chmod(home.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod((home.calendars() + "/A").c_str(), 0555), 0);
    ASSERT_EQ(chmod((home.calendars() + "/B").c_str(), 0777), 0);
    const Nobody nobody;
    if (!nobody.allowed()) {
        GTEST_SKIP() << "this process cannot act as another user";
    }
    const auto calendar = openEventDatabase()->defaultCalendarForNewEvents();
    EXPECT_EQ(calendar.value_or(Calendar{}).title, "B");
}

TEST(LocalCalendars, WhereTheFolderIsAFileAreDenied) {
    const TemporaryHome home;
    writeFile(home.path() + "/Library", "");
    const auto database = openEventDatabase();
    EXPECT_EQ(database->authorizationStatus(EntityType::event), AuthorizationStatus::denied);
    EXPECT_EQ(failureOf(titles), "the calendars cannot be read: Not a directory");
}

TEST(LocalFolders, TheHomeOfTheAccountStandsInForAnUnusableHome) {
    const ScopedVariable unset{"HOME", nullptr};
    const std::string folder = applicationSupportDirectory();
    EXPECT_TRUE(folder.starts_with('/')) << folder;
    EXPECT_TRUE(folder.ends_with("/Library/Application Support")) << folder;
    for (const char* home : {"", "relative/home", "."}) {
        const ScopedVariable unusable{"HOME", home};
        EXPECT_EQ(applicationSupportDirectory(), folder) << home;
    }
}

TEST(LocalFolders, TheFolderIsInTheHome) {
    const ScopedVariable home{"HOME", "/home/someone/"};
    EXPECT_EQ(applicationSupportDirectory(), "/home/someone/Library/Application Support");
}

} // namespace
} // namespace velmiro::local
