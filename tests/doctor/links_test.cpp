#include "tests/doctor/DoctorHome.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

// Links that lead astray, as the real program tells it. Each mend is pasted into a shell, after
// which the data is read.

namespace velmiro::doctor::test {
namespace {

namespace fs = std::filesystem;

const std::string velmiro = "'$HOME/Library/Application Support/Velmiro'";

TEST(Links, ADanglingLinkInPlaceOfARoot) {
    for (const auto& [kind, root] : std::map<std::string, std::string>{{"calendar", "Calendars"},
                                                                       {"reminders", "Reminders"},
                                                                       {"contacts", "Contacts"},
                                                                       {"notes", "Notes"},
                                                                       {"mail", "Mail"}}) {
        const DoctorHome home;
        home.linkTo("/mnt/gone", root);
        const Told told = mended(home, kind);
        EXPECT_EQ(told.before, "! " + root +
                                   " is a link to /mnt/gone, which leads nowhere\n"
                                   "      rm '$HOME/Library/Application Support/Velmiro/" +
                                   root + "'\n");
        EXPECT_TRUE(told.after.starts_with("  " + root + " does not exist: ")) << told.after;
    }
}

TEST(Links, ADanglingLinkInPlaceOfACalendarOrABook) {
    const DoctorHome home;
    home.writeData("Calendars/work/1.ics", eventFile("1"));
    home.linkTo("/mnt/gone", "Calendars/old");
    home.writeData("Contacts/a.vcf", cardFile("Anna"));
    home.linkTo("/mnt/gone", "Contacts/book");
    const Printed run = home.run();
    const std::string mend = "      rm '$HOME/Library/Application Support/Velmiro/";
    EXPECT_EQ(run.section("calendar"),
              "  Calendars\n"
              "! ‘old’ makes every answer an error: a link to /mnt/gone, which leads nowhere\n" +
                  mend +
                  "Calendars/old'\n"
                  "  ‘work’ (default): 1 event\n");
    EXPECT_EQ(run.section("contacts"),
              "  Contacts\n"
              "  directly in Contacts: 1 person\n"
              "! ‘book’ makes every answer an error: a link to /mnt/gone, which leads nowhere\n" +
                  mend + "Contacts/book'\n");
    home.paste(run, "calendar");
    home.paste(run, "contacts");
    EXPECT_EQ(home.run().section("calendar"), "  Calendars\n  ‘work’ (default): 1 event\n");
    EXPECT_EQ(home.run().section("contacts"), "  Contacts\n  directly in Contacts: 1 person\n");
}

TEST(Links, ALinkThatLandedInTheRootUnderAHiddenName) {
    const DoctorHome home;
    home.write(".todo/list/1.ics", reminderFile("1"));
    fs::create_directories(home.data("Reminders/Reminders"));
    home.link(".todo", "Reminders/.todo");
    const Told told = mended(home, "reminders");
    EXPECT_EQ(told.before,
              "  Reminders\n"
              "  ‘Reminders’ (default): 0 reminders\n"
              "! ‘.todo’ → $HOME/.todo holds lists, not .ics files: they are not read\n"
              "      (cd " +
                  velmiro +
                  " && rm Reminders/.todo && rmdir Reminders/Reminders Reminders && ln -s "
                  "$HOME/.todo Reminders)\n");
    EXPECT_EQ(told.after, "  Reminders → $HOME/.todo\n"
                          "  ‘list’ (default): 1 reminder, 1 open\n");
}

TEST(Links, ALinkThatLandedInAList) {
    const DoctorHome home;
    home.write(".todo/list/1.ics", reminderFile("1"));
    fs::create_directories(home.data("Reminders/Reminders"));
    home.link(".todo", "Reminders/Reminders/.todo");
    const Told told = mended(home, "reminders");
    EXPECT_NE(told.before.find("! ‘Reminders/.todo’ → $HOME/.todo holds lists, not .ics files: "
                               "they are not read\n"),
              std::string::npos)
        << told.before;
    EXPECT_EQ(told.after, "  Reminders → $HOME/.todo\n"
                          "  ‘list’ (default): 1 reminder, 1 open\n");
}

TEST(Links, ALinkThatLandedBesideRealData) {
    const DoctorHome home;
    home.write("calendars/work/1.ics", eventFile("1"));
    home.write("calendars/home/2.ics", eventFile("2"));
    home.writeData("Calendars/Calendar/3.ics", eventFile("3"));
    home.link("calendars", "Calendars/calendars");
    const Told told = mended(home, "calendar");
    EXPECT_EQ(told.before,
              "  Calendars\n"
              "  ‘Calendar’ (default): 1 event\n"
              "! ‘calendars’ → $HOME/calendars holds calendars, not .ics files: they are not read\n"
              "      (cd " +
                  velmiro + " && rm Calendars/calendars && ln -s $HOME/calendars/*/ Calendars/)\n");
    EXPECT_EQ(told.after, "  Calendars\n"
                          "  ‘Calendar’ (default): 1 event\n"
                          "  ‘home’: 1 event → $HOME/calendars/home\n"
                          "  ‘work’: 1 event → $HOME/calendars/work\n");
}

TEST(Links, ALinkToItself) {
    const DoctorHome home;
    home.write(".calendars/work/1.ics", eventFile("1"));
    home.link(".calendars/work", "Calendars/work");
    fs::create_symlink(home.path() / ".calendars/work", home.path() / ".calendars/work/work");
    const Printed run = home.run();
    EXPECT_EQ(run.section("calendar"),
              "  Calendars\n"
              "  ‘work’ (default): 1 event → $HOME/.calendars/work\n"
              "? work/work is a link to a calendar that is there already\n"
              "      rm '$HOME/Library/Application Support/Velmiro/Calendars/work/work'\n");
    home.paste(run, "calendar");
    EXPECT_EQ(home.run().section("calendar"),
              "  Calendars\n"
              "  ‘work’ (default): 1 event → $HOME/.calendars/work\n");
}

TEST(Links, ACalendarThatIsLinkedTwice) {
    const DoctorHome home;
    home.writeData("Calendars/a/1.ics", eventFile("1"));
    home.linkTo("a", "Calendars/b");
    const Told told = mended(home, "calendar");
    EXPECT_NE(
        told.before.find("! ‘a’ and ‘b’ are the same folder: everything in it is listed twice\n"
                         "      rm '$HOME/Library/Application Support/Velmiro/Calendars/b'\n"),
        std::string::npos)
        << told.before;
    EXPECT_EQ(told.after, "  Calendars\n  ‘a’ (default): 1 event\n");
}

TEST(Links, ALinkAboveTheRootsThatLeadsNowhere) {
    const DoctorHome home;
    fs::create_directories(home.data(".").parent_path().parent_path());
    fs::create_symlink("/mnt/gone", home.data(".").parent_path());
    const Printed run = home.run();
    for (const auto& [kind, root] : std::map<std::string, std::string>{{"calendar", "Calendars"},
                                                                       {"reminders", "Reminders"},
                                                                       {"contacts", "Contacts"},
                                                                       {"notes", "Notes"},
                                                                       {"mail", "Mail"}}) {
        EXPECT_EQ(
            run.section(kind),
            "! " + root +
                " cannot be reached: $HOME/Library/Application Support/Velmiro leads nowhere\n"
                "      rm '$HOME/Library/Application Support/Velmiro'\n");
    }
}

} // namespace
} // namespace velmiro::doctor::test
