#include "tests/doctor/DoctorHome.hpp"

#include "support/ChildProcess.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

// The real program, over homes as they should be and as they are at first.

namespace velmiro::doctor::test {
namespace {

namespace fs = std::filesystem;
using velmiro::test::ScriptedHost;

constexpr std::string_view clients =
    "clients\n"
    "  a change waits up to 120 seconds for the user's answer, but many clients\n"
    "  give up after 60: raise their limit for tool calls if they have one\n"
    "  none of the 5 configurations that are known here starts velmiro_mcp\n"
    "\n"
    "programs\n"
    "  libical is there\n"
    "  ICU is there\n"
    "  scripts for notes and mail run\n";

TEST(Doctor, TellsWhatIsFoundAndThatAllIsWell) {
    const DoctorHome home;
    home.makeWell();
    std::string sent;
    Printed run;
    {
        const ScriptedHost host{
            home.socket(), [&](int connection) { sent = velmiro::test::readQuestion(connection); }};
        run = home.run();
        EXPECT_EQ(host.accepted(), 1U);
    }
    EXPECT_EQ(sent, ""); // it only knocks
    EXPECT_EQ(run.output, "The server's data is in $HOME/Library/Application Support/Velmiro\n"
                          "\n"
                          "tools\n"
                          "  VELMIRO_ENABLED is not set: all five kinds are offered\n"
                          "\n"
                          "calendar\n"
                          "  Calendars → $HOME/.calendars\n"
                          "  ‘home’ (default): 1 event\n"
                          "  ‘The Office’: 2 events, in the folder work\n"
                          "\n"
                          "reminders\n"
                          "  Reminders → $HOME/.todo\n"
                          "  ‘list’ (default): 2 reminders, 1 open\n"
                          "\n"
                          "contacts\n"
                          "  Contacts → $HOME/.contacts\n"
                          "  ‘friends’: 1 person\n"
                          "\n"
                          "notes\n"
                          "  Notes → $HOME/notes\n"
                          "  ‘Ideas’ (default): 1 note\n"
                          "\n"
                          "mail\n"
                          "  Mail → $HOME/Maildir\n"
                          "  the inbox: 2 messages, 1 unread\n"
                          "\n"
                          "approval\n"
                          "  socket: " +
                              home.socket() +
                              "\n"
                              "  an approval host listens\n"
                              "\n" +
                              std::string{clients} + "\nAll is well.\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
}

TEST(Doctor, TellsOfAHomeWithoutAnyData) {
    const DoctorHome home;
    const Printed run = home.run();
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.section("calendar"),
              "  Calendars does not exist: it counts as one empty calendar, ‘Calendar’\n");
    EXPECT_EQ(run.section("reminders"),
              "  Reminders does not exist: it counts as one empty list, ‘Reminders’\n");
    EXPECT_EQ(run.section("contacts"), "  Contacts does not exist: nobody is found\n");
    EXPECT_EQ(run.section("notes"),
              "  Notes does not exist: no note is found; the first new one creates it\n");
    EXPECT_EQ(run.section("mail"), "  Mail does not exist: the inbox is empty\n");
    EXPECT_EQ(run.section("data"), "! none of the folders exists: every answer is empty\n"
                                   "      mkdir -p '$HOME/Library/Application Support/Velmiro' && "
                                   "ln -sfn /FOLDER/WITH/CALENDARS "
                                   "'$HOME/Library/Application Support/Velmiro/Calendars'\n");
    EXPECT_FALSE(fs::exists(home.path() / "Library"));
}

TEST(Doctor, FindsWhatOtherProgramsKeepInTheirUsualPlaces) {
    const DoctorHome home;
    home.write(".local/share/khal/calendars/private/1.ics", eventFile("1"));
    home.write("calendars/tasks/1.ics", reminderFile("1"));
    home.write(".contacts/book/a.vcf", cardFile("Anna"));
    home.write("Notes/flat.md", "Flat");
    home.write("Notes/Trips/sea.md", "Sea");
    home.write("Mail/work/INBOX/cur/1:2,S", "Subject: 1\n\n1\n");
    home.write("Mail/work/Archive/cur/2:2,S", "Subject: 2\n\n2\n");
    const Printed run = home.run();
    EXPECT_EQ(run.section("data"), "! none of the folders exists: every answer is empty\n"
                                   "      link what is there: the lines with ? say how\n");
    EXPECT_EQ(run.section("calendar").substr(run.section("calendar").find('?')),
              "? ~/.local/share/khal/calendars holds .ics files: link it\n"
              "      mkdir -p '$HOME/Library/Application Support/Velmiro' && ln -sfn "
              "$HOME/.local/share/khal/calendars "
              "'$HOME/Library/Application Support/Velmiro/Calendars'\n");
    for (const std::string_view kind : {"calendar", "reminders", "contacts", "notes", "mail"}) {
        home.paste(run, kind);
    }
    const Printed after = home.run();
    EXPECT_EQ(after.section("calendar"), "  Calendars → $HOME/.local/share/khal/calendars\n"
                                         "  ‘private’ (default): 1 event\n");
    EXPECT_EQ(after.section("reminders"), "  Reminders → $HOME/calendars\n"
                                          "  ‘tasks’ (default): 1 reminder, 1 open\n");
    EXPECT_EQ(after.section("contacts"), "  Contacts → $HOME/.contacts\n"
                                         "  ‘book’: 1 person\n");
    EXPECT_EQ(after.section("notes"), "  Notes\n"
                                      "  ‘Notes’ (default): 1 note → $HOME/Notes\n"
                                      "  ‘Trips’: 1 note → $HOME/Notes/Trips\n");
    EXPECT_EQ(after.section("mail"), "  Mail → $HOME/Mail/work/INBOX\n"
                                     "  the inbox: 1 message, 0 unread\n");
}

TEST(Doctor, CountsMessagesAsTheMailToolsDo) {
    const DoctorHome home;
    for (const std::string name : {"cur/1.a:2,", "cur/2.a:2,S", "cur/3.a:2,RS", "cur/4.a:2,DS",
                                   "cur/5.a:2,ST", "new/5.a", "new/2.a", "new/6.a", "new/.7.a"}) {
        home.writeData("Mail/" + name, "Subject: 1\n\n1\n");
    }
    home.writeData("Mail/.Sent/cur/8.a:2,S", "Subject: 1\n\n1\n");
    EXPECT_EQ(home.run().section("mail"), "  Mail\n"
                                          "  the inbox: 4 messages, 2 unread\n");
}

TEST(Doctor, LeavesOutTheKindsThatAreNotOffered) {
    const DoctorHome home;
    home.writeData("Calendars", "not a folder");
    const Printed run = home.run({{"VELMIRO_ENABLED", "mail"}});
    EXPECT_EQ(run.section("tools"), "  VELMIRO_ENABLED offers mail\n");
    EXPECT_EQ(run.section("calendar"), "  not offered: VELMIRO_ENABLED does not name it\n");
    EXPECT_EQ(run.section("mail"), "  Mail does not exist: the inbox is empty\n");
}

/// Returns the longest row in characters, without those that are to be pasted.
std::size_t longestRow(const std::string& text) {
    std::size_t longest = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        const std::string row = text.substr(begin, end - begin);
        if (!row.starts_with("      ")) {
            longest = std::max(longest, static_cast<std::size_t>(std::ranges::count_if(
                                            row, [](char byte) { return (byte & 0xC0) != 0x80; })));
        }
        begin = end + 1;
    }
    return longest;
}

TEST(Doctor, FitsATerminalUnlessAPathIsLong) {
    const DoctorHome home;
    home.makeWell();
    EXPECT_LE(longestRow(home.run().output), 80U);
    EXPECT_LE(longestRow(home.run({}, {"--help"}).output), 100U);
}

TEST(Doctor, ChangesNothing) {
    const DoctorHome home;
    home.makeWell();
    home.write(".calendars/work/broken.ics", "rubbish");
    home.write(".gemini/settings.json", R"({"mcpServers":{"v":{"command":"velmiro_mcp"}}})");
    fs::create_symlink("/gone", home.path() / ".calendars/old");
    fs::create_symlink(home.path() / ".calendars", home.data("Calendars/.hidden"));
    const auto before = stampsIn(home.path());
    const Printed run = home.run();
    EXPECT_EQ(stampsIn(home.path()), before);
    EXPECT_GT(before.size(), 30U);
    EXPECT_EQ(run.status, 1);
    const DoctorHome empty;
    const auto beforeEmpty = stampsIn(empty.path());
    static_cast<void>(empty.run());
    EXPECT_EQ(stampsIn(empty.path()), beforeEmpty);
}

/// Returns what the doctor writes to a terminal.
std::string shownOnTerminal(const DoctorHome& home, std::map<std::string, std::string> variables) {
    const MCPStdio::Descriptor terminal{::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    EXPECT_EQ(::grantpt(terminal.get()), 0);
    EXPECT_EQ(::unlockpt(terminal.get()), 0);
    std::array<char, 64> name{};
    EXPECT_EQ(::ptsname_r(terminal.get(), name.data(), name.size()), 0);
    MCPStdio::Descriptor screen{::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC)};
    variables["HOME"] = home.path().string();
    support::ChildProcess child{
        {.arguments = {home.program().string()}, .environment = variables, .output = screen.get()}};
    screen.close();
    std::string shown;
    std::array<char, 4096> bytes{};
    for (;;) { // until nobody has the terminal open any more
        const ssize_t count = ::read(terminal.get(), bytes.data(), bytes.size());
        if (count <= 0) {
            break;
        }
        shown.append(bytes.data(), static_cast<std::size_t>(count));
    }
    EXPECT_TRUE(child.waitForEnd());
    return shown;
}

TEST(Doctor, UsesColourOnATerminalUnlessAskedNotTo) {
    const DoctorHome home;
    const std::string coloured = shownOnTerminal(home, {{"TERM", "xterm"}});
    EXPECT_NE(coloured.find("\033[1mmail\033[0m"), std::string::npos) << coloured;
    for (const std::map<std::string, std::string>& variables :
         std::vector<std::map<std::string, std::string>>{
             {{"TERM", "xterm"}, {"NO_COLOR", "1"}}, {{"TERM", "dumb"}}, {}}) {
        const std::string plain = shownOnTerminal(home, variables);
        EXPECT_NE(plain.find("mail\r\n"), std::string::npos);
        EXPECT_EQ(plain.find('\033'), std::string::npos);
    }
    EXPECT_EQ(home.run({{"TERM", "xterm"}}).output.find('\033'), std::string::npos);
}

TEST(Doctor, AnswersHelpAndVersionAndRefusesTheRest) {
    const DoctorHome home;
    for (const std::string option : {"-h", "--help"}) {
        const Printed help = home.run({}, {option});
        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(help.output.starts_with("usage: velmiro_doctor [--help | --version]\n"));
    }
    const Printed version = home.run({}, {"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "velmiro_doctor 1.0\n");
    const Printed wrong = home.run({}, {"--mend\033"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.output, "");
    EXPECT_EQ(wrong.errors, "velmiro_doctor: unknown argument ‘--mend␛’ (try --help)\n");
}

} // namespace
} // namespace velmiro::doctor::test
