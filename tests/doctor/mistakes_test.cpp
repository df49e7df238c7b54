#include "tests/doctor/DoctorHome.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <sys/stat.h>

// Folders and files in the wrong place, as the real program tells it. Each mend is pasted into a
// shell, after which the data is read.

namespace velmiro::doctor::test {
namespace {

namespace fs = std::filesystem;

const std::string velmiro = "'$HOME/Library/Application Support/Velmiro'";

TEST(Mistakes, ASingleCalendarLinkedAsCalendars) {
    const DoctorHome home;
    home.write(".calendars/work/1.ics", eventFile("1"));
    home.write(".calendars/work/2.ics", eventFile("2"));
    home.link(".calendars/work", "Calendars");
    const Told told = mended(home, "calendar");
    EXPECT_EQ(told.before,
              "  Calendars → $HOME/.calendars/work\n"
              "! Calendars is one calendar, not a folder of them: 2 files are not read\n"
              "      (cd " +
                  velmiro +
                  " && rm Calendars && mkdir Calendars && ln -s $HOME/.calendars/work "
                  "Calendars/work)\n");
    EXPECT_EQ(told.after, "  Calendars\n"
                          "  ‘work’ (default): 2 events → $HOME/.calendars/work\n");
}

TEST(Mistakes, ASingleCalendarWithAHiddenNameLinkedAsCalendars) {
    const DoctorHome home;
    home.write(".calendar/1.ics", eventFile("1"));
    home.link(".calendar", "Calendars");
    EXPECT_EQ(mended(home, "calendar").after,
              "  Calendars\n"
              "  ‘calendar’ (default): 1 event → $HOME/.calendar\n");
}

TEST(Mistakes, FilesDirectlyInCalendars) {
    const DoctorHome home;
    home.writeData("Calendars/1.ics", eventFile("1"));
    home.writeData("Calendars/2.ics", eventFile("2"));
    const Told told = mended(home, "calendar");
    EXPECT_EQ(told.before,
              "  Calendars\n"
              "! 2 files directly in Calendars are not read: each belongs into a calendar\n"
              "      (cd " +
                  velmiro +
                  " && mkdir -p Calendars/Calendar && mv -n Calendars/*.ics "
                  "Calendars/Calendar/)\n");
    EXPECT_EQ(told.after, "  Calendars\n"
                          "  ‘Calendar’ (default): 2 events\n");
}

TEST(Mistakes, AFlatNotesFolder) {
    const DoctorHome home;
    home.write("notes/boat.md", "Boat");
    home.write("notes/List.TXT", "List");
    home.write("notes/photo.jpg", "");
    home.link("notes", "Notes");
    const Told told = mended(home, "notes");
    EXPECT_EQ(told.before, "  Notes → $HOME/notes\n"
                           "! Notes is one folder, not a folder of them: 2 files are not read\n"
                           "      (cd " +
                               velmiro +
                               " && rm Notes && mkdir Notes && ln -s $HOME/notes Notes/notes)\n");
    EXPECT_EQ(told.after, "  Notes\n"
                          "  ‘notes’ (default): 2 notes → $HOME/notes\n");
}

TEST(Mistakes, ANotesFolderWithNotesBesideItsFolders) {
    const DoctorHome home;
    home.writeData("Notes/boat.md", "Boat");
    home.writeData("Notes/list.txt", "List");
    home.writeData("Notes/Trips/sea.md", "Sea");
    const Told told = mended(home, "notes");
    EXPECT_EQ(told.before,
              "  Notes\n"
              "! 2 files directly in Notes are not read: each belongs into a folder\n"
              "      (cd " +
                  velmiro +
                  " && mkdir -p Notes/Notes && mv -n Notes/*.md Notes/*.txt Notes/Notes/)\n"
                  "  ‘Trips’ (default): 1 note\n");
    EXPECT_EQ(told.after, "  Notes\n"
                          "  ‘Notes’ (default): 2 notes\n"
                          "  ‘Trips’: 1 note\n");
}

TEST(Mistakes, ThousandsOfFilesDirectlyInARoot) {
    const DoctorHome home;
    home.writeData("Notes/0.md", "x");
    for (int number = 1; number < 1'001; ++number) {
        fs::create_hard_link(home.data("Notes/0.md"),
                             home.data("Notes/" + std::to_string(number) + ".md"));
    }
    const Told told = mended(home, "notes");
    EXPECT_EQ(told.before,
              "  Notes\n"
              "! 1,001 files directly in Notes are not read: each belongs into a folder\n"
              "      (cd " +
                  velmiro +
                  " && mkdir -p Notes/Notes && find Notes -maxdepth 1 -name '*.md' -exec mv -n -t "
                  "Notes/Notes {} +)\n");
    EXPECT_EQ(told.after, "  Notes\n"
                          "  ‘Notes’ (default): 1,001 notes\n");
}

TEST(Mistakes, TheRootOfAllMailboxesInsteadOfTheInbox) {
    const DoctorHome home;
    for (const std::string box : {"Archive", "Inbox", "Sent"}) {
        home.write("Mail/work/" + box + "/cur/1:2,S", "Subject: 1\n\n1\n");
        home.write("Mail/work/" + box + "/.mbsyncstate", "");
    }
    home.link("Mail", "Mail");
    const Told told = mended(home, "mail");
    EXPECT_EQ(told.before,
              "  Mail → $HOME/Mail\n"
              "! Mail holds mailboxes and is not the inbox itself: no message is read\n"
              "      ln -sfn $HOME/Mail/work/Inbox "
              "'$HOME/Library/Application Support/Velmiro/Mail'\n");
    EXPECT_EQ(told.after, "  Mail → $HOME/Mail/work/Inbox\n"
                          "  the inbox: 1 message, 0 unread\n");
}

TEST(Mistakes, MailboxesThatAreNotEvenLinked) {
    const DoctorHome home;
    home.writeData("Mail/INBOX/new/1", "Subject: 1\n\n1\n");
    home.writeData("Mail/Sent/cur/1:2,S", "Subject: 1\n\n1\n");
    const Told told = mended(home, "mail");
    EXPECT_NE(told.before.find("! Mail holds mailboxes and is not the inbox itself"),
              std::string::npos);
    EXPECT_EQ(told.after, "  Mail → $HOME/Library/Application Support/Velmiro/Mail-all/INBOX\n"
                          "  the inbox: 1 message, 1 unread\n");
}

TEST(Mistakes, AFolderThatIsNoMaildir) {
    const DoctorHome home;
    home.writeData("Mail/1.eml", "Subject: 1\n\n1\n");
    const Told told = mended(home, "mail");
    EXPECT_NE(told.before.find("! Mail is not a Maildir: it has no folders cur and new\n"),
              std::string::npos);
    EXPECT_EQ(told.after, "  Mail\n"
                          "  the inbox: 0 messages, 0 unread\n");
}

TEST(Mistakes, OneFileWithManyMessages) {
    const DoctorHome home;
    home.writeData("Mail", "From a@example.org\n\nHello\n");
    const Told told = mended(home, "mail");
    EXPECT_EQ(told.before, "! Mail is not a folder; one file with many messages is not read\n"
                           "      mv -n '$HOME/Library/Application Support/Velmiro/Mail' "
                           "'$HOME/Library/Application Support/Velmiro/Mail-old'\n");
    EXPECT_EQ(told.after, "  Mail does not exist: the inbox is empty\n");
}

TEST(Mistakes, AFileInPlaceOfARoot) {
    for (const auto& [kind, root] : std::map<std::string, std::string>{{"calendar", "Calendars"},
                                                                       {"reminders", "Reminders"},
                                                                       {"contacts", "Contacts"},
                                                                       {"notes", "Notes"}}) {
        const DoctorHome home;
        home.writeData(root, "BEGIN:VCALENDAR");
        const Told told = mended(home, kind);
        EXPECT_TRUE(told.before.starts_with("! " + root + " is not a folder\n      mv -n "))
            << told.before;
        EXPECT_TRUE(told.after.starts_with("  " + root + " does not exist: ")) << told.after;
    }
}

TEST(Mistakes, AListInsideAList) {
    const DoctorHome home;
    home.writeData("Reminders/Home/1.ics", reminderFile("1"));
    home.writeData("Reminders/Home/Garden/2.ics", reminderFile("2"));
    const Told told = mended(home, "reminders");
    EXPECT_EQ(told.before, "  Reminders\n"
                           "  ‘Home’ (default): 1 reminder, 1 open\n"
                           "! Home/Garden is a list inside a list: it is not read\n"
                           "      mv -n '$HOME/Library/Application "
                           "Support/Velmiro/Reminders/Home/Garden' "
                           "'$HOME/Library/Application Support/Velmiro/Reminders/Garden'\n");
    EXPECT_EQ(told.after, "  Reminders\n"
                          "  ‘Garden’ (default): 1 reminder, 1 open\n"
                          "  ‘Home’: 1 reminder, 1 open\n");
}

/// ln -s ~/.todo …/Reminders, when Reminders exists already.

TEST(Mistakes, OneLevelTooHigh) {
    const DoctorHome home;
    home.writeData("Contacts/nextcloud/friends/a.vcf", cardFile("Anna"));
    home.writeData("Contacts/nextcloud/family/b.vcf", cardFile("Ben"));
    const Told told = mended(home, "contacts");
    EXPECT_NE(
        told.before.find("! ‘nextcloud’ holds address books, not .vcf files: they are not read\n"),
        std::string::npos)
        << told.before;
    EXPECT_EQ(told.after, "  Contacts\n"
                          "  ‘family’: 1 person\n"
                          "  ‘friends’: 1 person\n"
                          "  ‘nextcloud’: 0 people\n");
}

/// vdirsyncer's folders stay where it keeps them.

TEST(Mistakes, OneLevelTooHighInAnotherProgramsFolders) {
    const DoctorHome home;
    home.write("vdir/cloud/work/1.ics", eventFile("1"));
    home.write("vdir/cloud/home/2.ics", eventFile("2"));
    home.link("vdir", "Calendars");
    const auto before = stampsIn(home.path() / "vdir");
    Told told = mended(home, "calendar");
    EXPECT_EQ(told.before,
              "  Calendars → $HOME/vdir\n"
              "! ‘cloud’ (default) holds calendars, not .ics files: they are not read\n"
              "      ln -sfn $HOME/vdir/cloud "
              "'$HOME/Library/Application Support/Velmiro/Calendars'\n");
    EXPECT_EQ(told.after, "  Calendars → $HOME/vdir/cloud\n"
                          "  ‘home’ (default): 1 event\n"
                          "  ‘work’: 1 event\n");
    EXPECT_EQ(stampsIn(home.path() / "vdir"), before);

    const DoctorHome other;
    other.write("vdir/cloud/work/1.ics", eventFile("1"));
    other.write("vdir/local/2.ics", eventFile("2"));
    other.write("vdir/local/inner/3.ics", eventFile("3"));
    other.link("vdir", "Calendars");
    told = mended(other, "calendar");
    EXPECT_EQ(told.before,
              "  Calendars → $HOME/vdir\n"
              "! ‘cloud’ (default) holds calendars, not .ics files: they are not read\n"
              "      ln -s $HOME/vdir/cloud/*/ "
              "'$HOME/Library/Application Support/Velmiro/Calendars/'\n"
              "  ‘local’: 1 event\n"
              "! local/inner is a calendar inside a calendar: it is not read\n"
              "      ln -sfn $HOME/vdir/local/inner "
              "'$HOME/Library/Application Support/Velmiro/Calendars/inner'\n");
    EXPECT_EQ(told.after, "  Calendars → $HOME/vdir\n"
                          "  ‘cloud’ (default): 0 events\n"
                          "  ‘inner’: 1 event → $HOME/vdir/local/inner\n"
                          "  ‘local’: 1 event\n"
                          "  ‘work’: 1 event → $HOME/vdir/cloud/work\n");
    EXPECT_TRUE(fs::exists(other.path() / "vdir/local/inner/3.ics"));
}

TEST(Mistakes, AreNotTheHiddenFoldersThatProgramsKeep) {
    const DoctorHome home;
    home.write("vault/a.md", "A");
    home.write("vault/.trash/b.md", "B");
    home.write("vault/.obsidian/c.md", "C");
    home.link("vault", "Notes/vault");
    home.writeData("Notes/.stversions/d.md", "D");
    EXPECT_EQ(home.run().section("notes"), "  Notes\n"
                                           "  ‘vault’ (default): 1 note → $HOME/vault\n");
}

TEST(Mistakes, ACalendarWhoseNameIsHidden) {
    const DoctorHome home;
    home.write(".work/1.ics", eventFile("1"));
    home.link(".work", "Calendars/.work");
    const Printed run = home.run();
    EXPECT_NE(
        run.section("calendar")
            .find("! Calendars/.work → $HOME/.work is not read: its name begins with a dot\n"),
        std::string::npos)
        << run.output;
    home.paste(run, "calendar");
    EXPECT_NE(home.run().section("calendar").find("  ‘work’ (default): 1 event → $HOME/.work\n"),
              std::string::npos);
}

/// The same ln -s twice: the second one puts a link to the calendar into the calendar.

TEST(Mistakes, AnEmptyRoot) {
    const DoctorHome home;
    fs::create_directories(home.data("Calendars"));
    const Told told = mended(home, "calendar");
    EXPECT_EQ(told.before, "  Calendars\n"
                           "! Calendars is empty: there is no calendar to add to\n"
                           "      mkdir '$HOME/Library/Application "
                           "Support/Velmiro/Calendars/Calendar'\n");
    EXPECT_EQ(told.after, "  Calendars\n  ‘Calendar’ (default): 0 events\n");
}

TEST(Mistakes, RemindersAmongTheCalendars) {
    const DoctorHome home;
    home.writeData("Calendars/work/1.ics", eventFile("1"));
    home.writeData("Calendars/tasks/2.ics", reminderFile("2"));
    const Printed run = home.run();
    EXPECT_EQ(run.section("calendar"),
              "  Calendars\n"
              "  ‘tasks’ (default): 0 events (and 1 reminder)\n"
              "? ‘tasks’ holds only reminders: link it in Reminders\n"
              "      mkdir -p '$HOME/Library/Application Support/Velmiro/Reminders' && ln -sfn "
              "'$HOME/Library/Application Support/Velmiro/Calendars/tasks' "
              "'$HOME/Library/Application Support/Velmiro/Reminders/tasks'\n"
              "  ‘work’: 1 event\n");
    home.paste(run, "calendar");
    const Printed after = home.run();
    EXPECT_EQ(after.section("calendar"), "  Calendars\n"
                                         "  ‘tasks’ (default): 0 events (and 1 reminder)\n"
                                         "  ‘work’: 1 event\n");
    EXPECT_NE(after.section("reminders").find("‘tasks’ (default): 1 reminder, 1 open"),
              std::string::npos);
}

TEST(Mistakes, WrongEndings) {
    const DoctorHome home;
    home.writeData("Calendars/work/1.ICS", eventFile("1"));
    home.writeData("Contacts/a.VCF", cardFile("Anna"));
    home.writeData("Notes/Ideas/a.markdown", "A");
    const Printed run = home.run();
    EXPECT_NE(run.section("calendar")
                  .find("! 1 file in Calendars/work ends in .ICS: only .ics is read\n"),
              std::string::npos)
        << run.output;
    home.paste(run, "calendar");
    home.paste(run, "contacts");
    home.paste(run, "notes");
    EXPECT_EQ(home.run().section("notes"), "  Notes\n  ‘Ideas’ (default): 1 note\n");
    EXPECT_EQ(home.run().section("calendar"), "  Calendars\n  ‘work’ (default): 1 event\n");
    EXPECT_EQ(home.run().section("contacts"), "  Contacts\n  directly in Contacts: 1 person\n");
}

TEST(Mistakes, EnabledNamesNothingThatExists) {
    const DoctorHome home;
    const Printed run = home.run({{"VELMIRO_ENABLED", "calender"}});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.section("tools"),
              "! VELMIRO_ENABLED names no kind but ‘calender’: the agent sees no tools\n"
              "      export VELMIRO_ENABLED=calendar\n");
}

TEST(Mistakes, FilesThatCannotBeRead) {
    const DoctorHome home;
    home.writeData("Calendars/work/1.ics", eventFile("1"));
    home.writeData("Calendars/work/2.ics", "rubbish");
    home.writeData("Calendars/work/3.ics", eventFile("3").substr(0, 100));
    home.writeData("Calendars/work/4.ics", "BEGIN:VCALENDAR\nVERSION:2.0\nEND:VCALENDAR\n");
    home.linkTo("/gone", "Calendars/work/5.ics");
    fs::create_directories(home.data("Calendars/work/6.ics"));
    home.writeData("Calendars/work/7.ics", "");
    home.writeData("Contacts/a.vcf", "rubbish");
    home.writeData("Notes/Ideas/a.md", "\xff");
    ASSERT_EQ(mkfifo(home.data("Notes/Ideas/b.md").c_str(), 0600), 0);
    home.writeData("Mail/cur/1:2,S", "rubbish");
    home.linkTo("/gone", "Mail/cur/2:2,S");
    const Printed run = home.run();
    const std::string in = "'$HOME/Library/Application Support/Velmiro/";
    EXPECT_EQ(run.section("calendar"),
              "  Calendars\n"
              "  ‘work’ (default): 1 event\n"
              "! work/2.ics cannot be read: no event or reminder in it can be read\n"
              "      head -n 20 " +
                  in +
                  "Calendars/work/2.ics'\n"
                  "! work/3.ics cannot be read: no event or reminder in it can be read\n"
                  "      head -n 20 " +
                  in +
                  "Calendars/work/3.ics'\n"
                  "! work/5.ics cannot be read: a link to /gone, which leads nowhere\n"
                  "      rm " +
                  in +
                  "Calendars/work/5.ics'\n"
                  "! and 2 more files in work/ cannot be read\n"
                  "      ls -l " +
                  in + "Calendars/work/'\n");
    EXPECT_EQ(run.section("contacts"), "  Contacts\n"
                                       "  directly in Contacts: 0 people\n"
                                       "! a.vcf cannot be read: no card in it can be read\n"
                                       "      head -n 20 " +
                                           in + "Contacts/a.vcf'\n");
    EXPECT_EQ(run.section("notes"), "  Notes\n"
                                    "  ‘Ideas’ (default): 1 note\n"
                                    "! Ideas/b.md cannot be read: a pipe, a device or a socket\n"
                                    "      ls -ldh " +
                                        in + "Notes/Ideas/b.md'\n");
    EXPECT_EQ(run.section("mail"), "  Mail\n"
                                   "  the inbox: 2 messages, 0 unread\n"
                                   "! cur/2:2,S cannot be read: a link to /gone, which leads "
                                   "nowhere\n"
                                   "      rm " +
                                       in + "Mail/cur/2:2,S'\n");
}

} // namespace
} // namespace velmiro::doctor::test
