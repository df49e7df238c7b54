#include "tests/doctor/DoctorHome.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <unistd.h>

// Folders and files that the user may not read or write.

namespace velmiro::doctor::test {
namespace {

namespace fs = std::filesystem;

const std::string in = "'$HOME/Library/Application Support/Velmiro/";

void forbid(const fs::path& path, unsigned mode = 0) {
    fs::permissions(path, fs::perms{mode});
}

class Rights : public testing::Test {
protected:
    void SetUp() override {
        home.writeData("Calendars/locked/1.ics", "");
        home.writeData("Calendars/work/2.ics", eventFile("2"));
        home.writeData("Calendars/work/3.ics", eventFile("3"));
        home.writeData("Reminders/list/1.ics", reminderFile("1"));
        home.writeData("Contacts/book/a.vcf", cardFile("Anna"));
        home.writeData("Notes/Ideas/a.md", "A");
        home.writeData("Mail/cur/1:2,S", "Subject: 1\n\n1\n");
        if (!home.giveUpRights()) {
            GTEST_SKIP() << "root has all rights, and there is no setpriv to give them up";
        }
    }

    DoctorHome home;
};

TEST_F(Rights, AreAllThere) {
    EXPECT_EQ(home.run().section("reminders"), "  Reminders\n"
                                               "  ‘list’ (default): 1 reminder, 1 open\n");
}

TEST_F(Rights, ThatAFileOrACalendarLacksAreGiven) {
    forbid(home.data("Calendars/locked"));
    forbid(home.data("Calendars/work/3.ics"));
    const Printed run = home.run();
    EXPECT_EQ(run.section("calendar"), "  Calendars\n"
                                       "! ‘locked’ makes every answer an error: permission denied\n"
                                       "      chmod u+rwx " +
                                           in +
                                           "Calendars/locked'\n"
                                           "  ‘work’ (default): 1 event\n"
                                           "! work/3.ics cannot be read: permission denied\n"
                                           "      chmod u+r " +
                                           in + "Calendars/work/3.ics'\n");
    home.paste(run, "calendar");
    const std::string after = home.run().section("calendar");
    EXPECT_NE(after.find("  ‘work’: 2 events\n"), std::string::npos) << after;
    EXPECT_EQ(after.find("permission"), std::string::npos) << after;
}

TEST_F(Rights, ThatARootLacksAreGiven) {
    forbid(home.data("Calendars"), 0500);
    forbid(home.data("Reminders"));
    forbid(home.data("Contacts"));
    forbid(home.data("Notes"), 0300);
    forbid(home.data("Mail/cur"));
    const Printed run = home.run();
    EXPECT_EQ(run.section("calendar"),
              "! Calendars cannot be both read and written: access is denied\n"
              "      chmod u+rwx " +
                  in + "Calendars'\n");
    EXPECT_EQ(run.section("reminders"),
              "! Reminders cannot be both read and written: access is denied\n"
              "      chmod u+rwx " +
                  in + "Reminders'\n");
    EXPECT_EQ(run.section("contacts"), "! Contacts cannot be read: access is denied\n"
                                       "      chmod u+rx " +
                                           in + "Contacts'\n");
    EXPECT_EQ(run.section("notes"), "  Notes\n"
                                    "! Notes cannot be read: permission denied\n"
                                    "      chmod u+rwx " +
                                        in + "Notes'\n");
    EXPECT_EQ(run.section("mail"), "  Mail\n"
                                   "  the inbox: 0 messages, 0 unread\n"
                                   "! Mail/cur cannot be read: permission denied\n"
                                   "      chmod u+rwx " +
                                       in + "Mail/cur'\n");
    for (const std::string_view kind : {"calendar", "reminders", "contacts", "notes", "mail"}) {
        home.paste(run, kind);
    }
    const Printed after = home.run();
    EXPECT_EQ(after.section("notes"), "  Notes\n  ‘Ideas’ (default): 1 note\n");
    EXPECT_EQ(after.section("mail"), "  Mail\n  the inbox: 1 message, 0 unread\n");
    EXPECT_EQ(after.section("contacts"), "  Contacts\n  ‘book’: 1 person\n");
    EXPECT_EQ(after.section("reminders"), "  Reminders\n"
                                          "  ‘list’ (default): 1 reminder, 1 open\n");
}

TEST_F(Rights, ThatTheFolderOfAllLacksAreGiven) {
    forbid(home.data("x").parent_path());
    const Printed run = home.run();
    for (const std::string_view kind : {"calendar", "reminders", "contacts", "notes", "mail"}) {
        EXPECT_NE(run.section(kind).find("      chmod u+rwx "
                                         "'$HOME/Library/Application Support/Velmiro'\n"),
                  std::string::npos)
            << run.section(kind);
    }
    home.paste(run, "mail");
    EXPECT_EQ(home.run().section("mail"), "  Mail\n  the inbox: 1 message, 0 unread\n");
}

TEST_F(Rights, ToEnterAFolderFurtherUpAreGivenThere) {
    forbid(home.path() / "Library");
    const Printed run = home.run();
    EXPECT_EQ(run.section("notes"), "! Notes cannot be reached: permission denied\n"
                                    "      chmod u+rwx $HOME/Library\n");
    home.paste(run, "notes");
    EXPECT_EQ(home.run().section("notes"), "  Notes\n  ‘Ideas’ (default): 1 note\n");
}

TEST_F(Rights, ToAnotherUsersFilesAreAskedOfRoot) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file to another user";
    }
    ASSERT_EQ(::chown(home.data("Calendars/work/3.ics").c_str(), 0, 0), 0);
    forbid(home.data("Calendars/work/3.ics"), 0600);
    EXPECT_NE(home.run()
                  .section("calendar")
                  .find("      sudo chown \"$(id -u)\" " + in + "Calendars/work/3.ics'\n"),
              std::string::npos);
}

TEST_F(Rights, ToWriteNoCalendarLeaveNoDefault) {
    fs::remove_all(home.data("Calendars/locked"));
    forbid(home.data("Calendars/work"), 0500);
    const Printed run = home.run();
    EXPECT_EQ(run.section("calendar"), "  Calendars\n"
                                       "  ‘work’: 2 events\n"
                                       "! no calendar can be written\n"
                                       "      chmod u+rwx " +
                                           in + "Calendars/work'\n");
}

} // namespace
} // namespace velmiro::doctor::test
