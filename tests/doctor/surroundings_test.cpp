#include "tests/doctor/DoctorHome.hpp"

#include "doctor/Examinations.hpp"
#include "doctor/Programs.hpp"
#include "support/Files.hpp"
#include "support/ScopedVariable.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>

// What is around the data: the approval host, the clients, the programs; and hostile homes.

namespace velmiro::doctor::test {
namespace {

namespace fs = std::filesystem;
using MCPStdio::Descriptor;
using support::ScopedVariable;

Descriptor listener(const std::string& path, int backlog) {
    Descriptor socket{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(&address.sun_path[0], path.data(), path.size());
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    if (backlog >= 0) {
        EXPECT_EQ(::listen(socket.get(), backlog), 0);
    }
    return socket;
}

std::string approval(const std::string& path) {
    const ScopedVariable variable{"VELMIRO_APPROVAL_SOCKET", path.c_str()};
    const std::string text = textOf(examineHost(std::chrono::milliseconds{200}), false);
    const std::string heading = "approval\n  socket: " + path + "\n";
    EXPECT_TRUE(text.starts_with(heading)) << text;
    return text.substr(heading.size());
}

TEST(ApprovalHost, IsThereIfItListens) {
    const TemporaryFolder folder{"/tmp"};
    const Descriptor host = listener(folder / "s", 5);
    EXPECT_EQ(approval(folder / "s"), "  an approval host listens\n");
}

TEST(ApprovalHost, IsMissingIfThereIsNoSocketOrNobodyListens) {
    const TemporaryFolder folder{"/tmp"};
    const std::string start = "      " + programBeside("approval_host") + "\n";
    EXPECT_EQ(approval(folder / "s"),
              "! no approval host listens: every change is refused at once\n" + start);
    {
        const Descriptor ended = listener(folder / "s", -1);
    }
    EXPECT_EQ(approval(folder / "s"),
              "! the approval host has ended: every change is refused at once\n" + start);
    folder.write("file", "");
    EXPECT_EQ(approval(folder / "file"),
              "! the approval socket is a file: every change is refused at once\n"
              "      mv -n " +
                  (folder / "file") + " " + (folder / "file-old") + "\n");
}

TEST(ApprovalHost, IsAProblemIfItAcceptsNobody) {
    const TemporaryFolder folder{"/tmp"};
    const Descriptor host = listener(folder / "s", 0);
    const Descriptor first{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder / "s";
    std::memcpy(&address.sun_path[0], path.data(), path.size());
    ASSERT_EQ(::connect(first.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    EXPECT_EQ(approval(path), "! an approval host listens, but accepts no connection\n"
                              "      lsof -- " +
                                  path + "\n");
}

TEST(ApprovalHost, CannotListenAtALongPath) {
    const std::string path = "/tmp/" + std::string(99, 'x');
    EXPECT_EQ(approval(path),
              "! its path has 104 bytes, but at most 103 are possible: every change is refused\n"
              "      export VELMIRO_APPROVAL_SOCKET=/run/user/$(id -u)/velmiro.sock\n");
}

std::string clientsOf(const DoctorHome& home) {
    const std::string text = home.run().section("clients");
    return text.substr(text.find("one\n") + 4);
}

TEST(Clients, ThatWaitLongEnoughAreFine) {
    const DoctorHome home;
    home.write("../installed/bin/velmiro_mcp", "");
    fs::permissions(home.program().parent_path() / "velmiro_mcp", fs::perms::owner_all);
    const std::string server = (home.program().parent_path() / "velmiro_mcp").string();
    const std::string plain = R"({"mcpServers":{"mine":{"command":")" + server + "\"}}}";
    home.write(".gemini/settings.json", plain);
    home.write(".qwen/settings.json",
               R"({"mcpServers":{"mine":{"timeout":121000,"command":")" + server + "\"}}}");
    home.write(
        ".claude.json",
        R"({"projects":{"/x":{"mcpServers":{"mine":{"timeout":500,"command":"sh","args":[")" +
            server + "\"]}}}}}");
    EXPECT_EQ(clientsOf(home), "  Claude Code starts it as ‘mine’\n"
                               "  Gemini CLI starts it as ‘mine’\n"
                               "  Qwen Code starts it as ‘mine’\n");
}

TEST(Clients, ThatGiveUpTooEarlyAreTold) {
    const DoctorHome home;
    const std::string cline = ".config/Code/User/globalStorage/saoudrizwan.claude-dev/settings/"
                              "cline_mcp_settings.json";
    const std::string start = R"({"mcpServers":{"mine":{"command":"velmiro_mcp")";
    home.write(".gemini/settings.json", start + ",\"timeout\":120000}}}");
    home.write(".claude.json", start + ",\"timeout\":30500}}}");
    home.write(cline, start + "}}}");
    home.write(".config/Claude/claude_desktop_config.json", start + "}}}");
    EXPECT_EQ(clientsOf(home),
              "  Claude Desktop starts it as ‘mine’\n"
              "? Claude Desktop waits 60 s for ‘mine’, but the user has 120 s; it has no setting\n"
              "  Claude Code starts it as ‘mine’\n"
              "! Claude Code waits 30.5 s for ‘mine’, but the user has 120 s to answer\n"
              "      in $HOME/.claude.json: \"timeout\": 150000\n"
              "  Cline starts it as ‘mine’\n"
              "! Cline waits 60 s for ‘mine’, but the user has 120 s to answer\n"
              "      in $HOME/" +
                  cline +
                  ": \"timeout\": 150\n"
                  "  Gemini CLI starts it as ‘mine’\n"
                  "! Gemini CLI waits 120 s for ‘mine’, but the user has 120 s to answer\n"
                  "      in $HOME/.gemini/settings.json: \"timeout\": 150000\n");
}

TEST(Clients, MayStartAServerThatIsGoneOrOneThatOffersNothing) {
    const DoctorHome home;
    home.write(".gemini/settings.json", R"({"mcpServers":{"mine":{"command":"/gone/velmiro_mcp",
        "env":{"VELMIRO_ENABLED":"calender, mail","HOME":"/home/other"}}}})");
    EXPECT_EQ(clientsOf(home),
              "  Gemini CLI starts it as ‘mine’\n"
              "! Gemini CLI cannot start /gone/velmiro_mcp: it is not there\n"
              "      in $HOME/.gemini/settings.json: \"command\": \"velmiro_mcp\"\n"
              "! Gemini CLI sets VELMIRO_ENABLED to ‘calender’, which is no kind\n"
              "      in $HOME/.gemini/settings.json: \"VELMIRO_ENABLED\": \"calendar,mail\"\n"
              "? Gemini CLI sets HOME: run the doctor with the same\n"
              "      export HOME=/home/other\n");
}

TEST(Clients, MayOfferNoToolsAtAll) {
    const DoctorHome home;
    home.write(".gemini/settings.json", R"({"mcpServers":{"mine":{"command":"velmiro_mcp",
        "env":{"VELMIRO_ENABLED":" ,"}}}})");
    EXPECT_EQ(clientsOf(home),
              "  Gemini CLI starts it as ‘mine’\n"
              "! Gemini CLI sets VELMIRO_ENABLED to no kind: its agent sees no tools\n"
              "      in $HOME/.gemini/settings.json: \"VELMIRO_ENABLED\": "
              "\"calendar,reminders,contacts,notes,mail\"\n");
}

TEST(Clients, MayNameTheHomeAndTheSocketThatAreMeantAnyway) {
    const DoctorHome home;
    home.write(".gemini/settings.json", R"({"mcpServers":{"mine":{"command":"velmiro_mcp",
        "env":{"VELMIRO_ENABLED":"mail","HOME":")" +
                                            home.path().string() +
                                            R"(","VELMIRO_APPROVAL_SOCKET":")" + home.socket() +
                                            "\"}}}}");
    EXPECT_EQ(clientsOf(home), "  Gemini CLI starts it as ‘mine’\n");
}

TEST(Clients, MayHaveConfigurationsOfAnyShape) {
    for (const std::string text :
         {"[]", "3", "{}", R"({"mcpServers":[]})",
          R"({"mcpServers":{"a":1,"b":[],"c":{"args":3}}})",
          R"({"mcpServers":{"a":{"command":[],"args":[1,{}]}},"projects":[{}]})",
          R"({"projects":{"a":1,"b":{"mcpServers":3}}})"}) {
        const DoctorHome home;
        home.write(".claude.json", text);
        EXPECT_EQ(clientsOf(home), "  none of the 5 configurations that are known here starts "
                                   "velmiro_mcp\n")
            << text;
    }
    const DoctorHome home;
    home.write(".claude.json", "{\"mcpServers\":");
    EXPECT_TRUE(clientsOf(home).starts_with(
        "! Claude Code cannot read its configuration: it is not JSON\n"));
}

TEST(Programs, AreMissedIfTheyAreMissing) {
    const DoctorHome home;
    fs::remove(home.interpreter());
    const std::string missing = home.run().section("programs");
    EXPECT_NE(missing.find("libexec/velmiro/osascript is missing: notes and mail fail\n"
                           "      script/setup run && script/build\n"),
              std::string::npos)
        << missing;
    support::writeFile(home.interpreter(), "#!/bin/sh\necho 'no \033[2J library' >&2\nexit 1\n");
    fs::permissions(home.interpreter(), fs::perms::owner_all);
    EXPECT_NE(
        home.run().section("programs").find("! scripts for notes and mail fail: no ␛[2J library\n"),
        std::string::npos);
    support::writeFile(home.interpreter(), "no program");
    fs::permissions(home.interpreter(), fs::perms::owner_read);
    EXPECT_NE(home.run().section("programs").find("osascript does not start: permission denied\n"),
              std::string::npos);
}

/// The character that turns the text after it around.
const std::string turning = std::string{"\xe2\x80"} + '\xae';

TEST(Hostile, NamesCannotMoveTheCursorAndMendsStillMeanThem) {
    const DoctorHome home;
    const std::string name = "a\033[2J\n'$(touch pwned)\xff" + turning;
    home.writeData(fs::path{"Calendars"} / name / "1.ics", eventFile("1"));
    home.writeData(fs::path{"Calendars"} / name / ("in" + name) / "2.ics", eventFile("2"));
    home.writeData(fs::path{"Calendars"} / name / "displayname", "\033]0;title\a" + turning);
    const Printed run = home.run();
    for (const char byte : run.output) {
        EXPECT_TRUE(byte == '\n' || static_cast<unsigned char>(byte) >= 0x20U);
    }
    EXPECT_EQ(run.output.find(turning), std::string::npos);
    home.paste(run, "calendar");
    const std::string after = home.run().section("calendar");
    EXPECT_EQ(after.find('!'), std::string::npos) << after;
    EXPECT_TRUE(fs::exists(home.data("Calendars") / ("in" + name) / "2.ics"));
    EXPECT_FALSE(fs::exists("pwned"));
}

TEST(Hostile, PipesDevicesAndCirclesHoldNothingUp) {
    const DoctorHome home;
    fs::create_directories(home.data("Calendars/work"));
    for (const std::string ending : {"ics", "vcf", "md"}) {
        for (const std::string root : {"Calendars", "Reminders", "Contacts", "Notes"}) {
            home.linkTo("/dev/zero", root + "/a/zero." + ending);
            home.linkTo("/dev/tty", root + "/a/tty." + ending);
            home.linkTo("circle." + ending, root + "/a/circle." + ending);
            ASSERT_EQ(::mkfifo(home.data(root + "/a/pipe." + ending).c_str(), 0600), 0);
        }
    }
    home.linkTo("..", "Calendars/a/up");
    home.linkTo(".", "Calendars/self");
    home.linkTo(".", "Notes/self");
    home.linkTo("/", "Notes/all");
    home.linkTo("/proc/self/root", "Contacts/root");
    home.linkTo("/dev", "Mail");
    const auto begin = std::chrono::steady_clock::now();
    const Printed run = home.run();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{30});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("problems. The line below each says how to mend it.\n"),
              std::string::npos);
}

TEST(Hostile, LargeFoldersAreCountedAndSampled) {
    const DoctorHome home;
    home.writeData("Calendars/work/0.ics", eventFile("0"));
    home.writeData("Mail/cur/0:2,S", "Subject: 0\n\n");
    for (int number = 1; number < 2'000; ++number) {
        fs::create_hard_link(home.data("Calendars/work/0.ics"),
                             home.data("Calendars/work/" + std::to_string(number) + ".ics"));
        fs::create_hard_link(home.data("Mail/cur/0:2,S"),
                             home.data("Mail/cur/" + std::to_string(number) + ":2,"));
    }
    const std::string folder = home.path().string();
    const ScopedVariable variable{"HOME", folder.c_str()};
    EXPECT_EQ(textOf(examineCalendars(EntityType::event, {.files = 100}), false),
              "calendar\n"
              "  Calendars\n"
              "  ‘work’ (default): 100 events, in the first 100 of 2,000 files\n");
    EXPECT_EQ(textOf(examineCalendars(EntityType::event, {.names = 50}), false),
              "calendar\n"
              "  Calendars\n"
              "  ‘work’ (default): 50 events, in the first 50 of 2,000 files\n");
    const std::string mail = textOf(examineMail({.files = 100}), false);
    EXPECT_NE(mail.find(", in the first 100 of 2,000 files\n"), std::string::npos) << mail;
}

} // namespace
} // namespace velmiro::doctor::test
