// The commands of the README that link what other programs keep, run as they stand there.

#include "MCPStdio/json/JSONValue.hpp"
#include "tests/process/ServerUnderTest.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

using namespace velmiro::test;
using MCPStdio::JSONValue;
namespace fs = std::filesystem;

namespace {

const std::string& readme() {
    static const std::string text = readFile(README_FILE);
    return text;
}

/// Returns the lines of the block of commands that makes the links, without their indentation.
std::string linkCommands() {
    std::string block;
    std::string commands;
    std::istringstream lines{readme()};
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("    ")) {
            block += line.substr(4) + "\n";
            continue;
        }
        commands += block.find("ln -s") == std::string::npos ? std::string{} : block;
        block.clear();
    }
    return commands;
}

/// Returns the block that configures a client.
JSONValue configuration() {
    const auto start = readme().find("    {\n      \"mcpServers\"");
    return JSONValue::parse(readme().substr(start, readme().find("\n    }\n", start) + 6 - start));
}

std::string item(const std::string& kind, const std::string& lines) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:" + kind + "\r\n" + lines + "END:" + kind +
           "\r\nEND:VCALENDAR\r\n";
}

const std::string event =
    item("VEVENT", "UID:e\r\nDTSTART:20261014T080000Z\r\nSUMMARY:Planning\r\n");
const std::string reminder = item("VTODO", "UID:r\r\nSUMMARY:Milk\r\n");

class Readme : public testing::Test {
protected:
    TemporaryFolder home;
    fs::path data = home.path() / "Library/Application Support/Velmiro";

    /// Writes what the other programs keep, where the README expects it.
    void furnish() const {
        home.write(".calendars/work/e.ics", event);
        home.write(".todo/home/r.ics", reminder);
        home.write(".contacts/friends/anna.vcf",
                   "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:a\r\nN:Berg;Anna\r\nEND:VCARD\r\n");
        home.write("notes/tea.md", "# Tea\n\ngreen\n");
        home.write("Maildir/new/1.host", "From: zoe@example.org\nSubject: Hello\n\nHi.\n");
        fs::create_directories(home.path() / "Maildir/cur");
        fs::create_directories(home.path() / "Maildir/tmp");
    }
    /// Runs commands of a shell in the home; returns its exit status.
    [[nodiscard]] int run(const std::string& commands) const {
        ChildProcess shell{
            {.arguments = {"/bin/sh", "-euc", commands},
             .environment = {{"HOME", home.path().string()}, {"PATH", "/usr/bin:/bin"}}}};
        return shell.wait();
    }
    [[nodiscard]] std::string answer(const std::string& tool, const std::string& arguments) const {
        ChildProcess server{serverIn(home)};
        server.writeLine(callLine(1, tool, arguments));
        return server.readLine().value_or("(no reply)");
    }
    void expectIn(const std::string& expected, const std::string& tool,
                  const std::string& arguments) const {
        const std::string text = answer(tool, arguments);
        EXPECT_NE(text.find(expected), std::string::npos) << tool << ": " << text;
    }
    void expectAllIsListed() const {
        expectIn("Planning", "calendar_list_events", R"({"start":"2026-10-14","calendar":"work"})");
        expectIn("Milk", "reminders_list", R"({"list":"home"})");
        expectIn("Berg", "contacts_search", R"({"query":"anna"})");
        if (std::string_view{PLATFORM} == "local" && !fs::exists("/usr/bin/osascript")) {
            expectIn("Tea", "notes_search", R"({"query":"green"})");
            expectIn("Hello", "mail_list", "{}");
        }
    }
};

} // namespace

TEST_F(Readme, ItsLinksShowTheServerAllThatOtherProgramsKeep) {
    const std::string commands = linkCommands();
    for (const char* folder : {"Calendars", "Reminders", "Contacts", "Notes", "Mail"}) {
        EXPECT_NE(commands.find("$velmiro/" + std::string{folder}), std::string::npos) << folder;
    }
    furnish();
    ASSERT_EQ(run(commands), 0);
    expectAllIsListed();
    const auto once = snapshot(home.path());
    ASSERT_EQ(run(commands), 0); // links that are there are replaced
    EXPECT_EQ(snapshot(home.path()), once);
    expectAllIsListed();
}

TEST_F(Readme, ItsLinksMayBeMadeAfterTheServerHasRead) {
    furnish();
    expectIn(R"(\"events\" : [])", "calendar_list_events", "{}");
    expectIn(R"(\"reminders\" : [])", "reminders_list", "{}");
    expectIn(R"(\"contacts\" : [])", "contacts_search", R"({"query":"anna"})");
    EXPECT_FALSE(fs::exists(data));
    ASSERT_EQ(run(linkCommands()), 0);
    expectAllIsListed();
}

TEST_F(Readme, ItsLinksComeBeforeTheFirstStart) {
    EXPECT_LT(readme().find("ln -sfn"), readme().find("\"mcpServers\""));
    EXPECT_EQ(readme().find("ln -s "), std::string::npos);
}

TEST_F(Readme, ItsConfigurationOffersEveryTool) {
    const JSONValue all = configuration();
    const JSONValue& server = *(*all["mcpServers"])["velmiro"];
    EXPECT_TRUE(server["command"]->stringValue()->ends_with("/build/release/bin/velmiro_mcp"));
    EXPECT_TRUE(server["args"]->arrayValue()->empty());
    const std::string kinds{*(*server["env"])["VELMIRO_ENABLED"]->stringValue()};
    auto options = serverIn(home);
    options.environment["VELMIRO_ENABLED"] = kinds;
    ChildProcess configured{options};
    configured.writeLine(R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})");
    const JSONValue reply = JSONValue::parse(configured.readLine().value_or("{}"));
    EXPECT_EQ((*reply["result"])["tools"]->arrayValue()->size(), 11U);
}

TEST_F(Readme, WhatEveryHostNeedsIsRightBelowTheConfiguration) {
    const auto at = readme().find("\"mcpServers\"");
    const std::string below = readme().substr(at, 1500);
    for (const char* needed : {"bin/approval_host\n", "120 seconds", "late yes", "150"}) {
        EXPECT_NE(below.find(needed), std::string::npos) << needed;
    }
}

TEST_F(Readme, CalendarsAndListsMayShareAFolder) {
    home.write("shared/work/e.ics", event);
    home.write("shared/work/r.ics", reminder);
    fs::create_directories(data);
    fs::create_directory_symlink(home.path() / "shared", data / "Calendars");
    fs::create_directory_symlink(home.path() / "shared", data / "Reminders");
    expectIn("Planning", "calendar_list_events", R"({"start":"2026-10-14"})");
    expectIn("Milk", "reminders_list", "{}");
}

TEST_F(Readme, ALinkThatLeadsNowhereIsAnErrorNotAnEmptyFolder) {
    ASSERT_EQ(run(linkCommands()), 0);
    expectIn("the calendars cannot be read: No such file or directory", "calendar_list_events",
             "{}");
    expectIn("the reminders cannot be read: No such file or directory", "reminders_list", "{}");
    expectIn("the contacts cannot be read: No such file or directory", "contacts_search",
             R"({"query":"anna"})");
}
