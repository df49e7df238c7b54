// Every tool with hardly any descriptor left: its answer is right, or an error. An empty list would
// tell the agent that the day is free.

#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/Answer.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <gtest/gtest.h>

using namespace velmiro::test;
namespace fs = std::filesystem;

namespace {

constexpr int fewest = 4; // with three the dynamic linker cannot start a program
constexpr int most = 40;

std::string component(const std::string& kind, const std::string& lines) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//t//EN\r\nBEGIN:" + kind +
           "\r\nDTSTAMP:20260901T080000Z\r\n" + lines + "END:" + kind + "\r\nEND:VCALENDAR\r\n";
}

class DescriptorShortage : public testing::TestWithParam<int> {
protected:
    TemporaryFolder home;
    fs::path data = home.path() / "Library/Application Support/Velmiro";
    fs::path program = home.path() / "bin/velmiro_mcp";
    ScriptedHost host{home.path() / "approval.sock", [](int connection) {
                          readQuestion(connection);
                          answerWith(connection, "{\"allow\":true}\n");
                      }};

    void SetUp() override {
        install(SERVER_BINARY, program);
        install(FAKE_OSASCRIPT, home.path() / "libexec/velmiro/osascript");
        // The names of the calendar and the list are in a file each, the time zone in another.
        home.write(data / "Calendars/w/displayname", "Work");
        home.write(data / "Calendars/w/lunch.ics",
                   component("VEVENT", "UID:lunch\r\nSUMMARY:Lunch\r\n"
                                       "DTSTART;TZID=America/New_York:20261014T090000\r\n"));
        home.write(data / "Reminders/h/displayname", "Home");
        home.write(data / "Reminders/h/milk.ics",
                   component("VTODO", "UID:milk\r\nSUMMARY:Milk\r\nDUE:20261014T080000Z\r\n"
                                      "RRULE:FREQ=DAILY\r\n"));
        home.write(data / "Contacts/friends/anna.vcf",
                   "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Berg;Anna\r\nEND:VCARD\r\n");
    }

    [[nodiscard]] ChildProcess::Options limitedServer(int descriptors) const {
        auto options = serverIn(home);
        options.arguments = {"/usr/bin/prlimit", "--nofile=" + std::to_string(descriptors),
                             program.string()};
        return options;
    }

    static Answer call(ChildProcess& server, const std::string& tool,
                       const std::string& arguments) {
        server.writeLine(callLine(1, tool, arguments));
        const auto answer = answerIn(server.readLine(std::chrono::seconds{90}));
        EXPECT_TRUE(answer.isThere) << tool;
        return answer;
    }

    [[nodiscard]] std::size_t filesIn(const std::string& folder) const {
        return snapshot(data / folder).size();
    }
};

/// With fewer, a script waits a minute for descriptors and then fails. The tests of ScriptShortage
/// show that with a shorter limit.
constexpr int enoughForScripts = 10;

class ScriptDescriptors : public DescriptorShortage {};

INSTANTIATE_TEST_SUITE_P(Limits, ScriptDescriptors, testing::Range(enoughForScripts, most + 1),
                         testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Limits, DescriptorShortage, testing::Range(fewest, most + 1),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(DescriptorShortage, WhatIsReadIsRightOrAnError) {
    ChildProcess server{limitedServer(GetParam())};
    const auto reads = [&](const std::string& tool, const std::string& arguments,
                           const std::string& expected) {
        const Answer answer = call(server, tool, arguments);
        EXPECT_TRUE(answer.isError ? answer.has("cannot be read: Too many open files") ||
                                         answer.has("could not be loaded")
                                   : answer.has(expected))
            << tool << arguments << ": " << answer.text;
        return !answer.isError;
    };
    const std::string day = R"("start":"2026-10-14","days":1)";
    const std::string lunch = R"("start" : "2026-10-14T15:00:00+02:00")";
    const std::string milk = R"("due" : "2026-10-14T10:00:00+02:00")";
    int right = 0;
    right += reads("calendar_list_events", "{" + day + "}", lunch);
    right += reads("calendar_list_events", "{" + day + R"(,"calendar":"work"})", lunch);
    right += reads("reminders_list", "{}", milk);
    right += reads("reminders_list", R"({"list":"home"})", milk);
    right += reads("contacts_search", R"({"query":"anna"})", R"("name" : "Berg Anna")");
    if (GetParam() >= 12) {
        EXPECT_EQ(right, 5);
    }
    server.closeInput();
    EXPECT_EQ(server.waitForEnd(), 0);
}

TEST_P(DescriptorShortage, WhatIsChangedIsChangedOrAnError) {
    ChildProcess server{limitedServer(GetParam())};
    const auto changes = [&](const std::string& tool, const std::string& arguments,
                             const std::string& folder, const std::string& expected) {
        const auto before = snapshot(data / folder);
        const Answer answer = call(server, tool, arguments);
        EXPECT_FALSE(answer.has("no reminder with id")) << answer.text;
        EXPECT_FALSE(answer.has("named ‘")) << answer.text;
        EXPECT_FALSE(answer.has("there is no")) << answer.text;
        EXPECT_EQ(answer.has(expected), !answer.isError) << answer.text;
        EXPECT_EQ(filesIn(folder), before.size() + (answer.isError ? 0 : 1)) << answer.text;
        if (answer.isError) {
            EXPECT_EQ(snapshot(data / folder), before) << answer.text;
        }
        return !answer.isError;
    };
    const std::string created = R"("created" : true)";
    int right = 0;
    right += changes("calendar_create_event", R"({"title":"Dentist","start":"2026-10-14"})",
                     "Calendars", created);
    right += changes("calendar_create_event",
                     R"({"title":"Dentist","start":"2026-10-14","calendar":"work"})", "Calendars",
                     created);
    right += changes("reminders_create", R"({"title":"Call","list":"home"})", "Reminders", created);
    // Each time, the next occurrence of the series is added.
    right +=
        changes("reminders_complete", R"({"id":"milk"})", "Reminders", R"("completed" : true)");
    if (GetParam() >= 12) {
        EXPECT_EQ(right, 4);
    }
}

TEST_P(ScriptDescriptors, AreEnough) {
    if (fs::exists("/usr/bin/osascript")) {
        GTEST_SKIP() << "the system's own osascript would run";
    }
    ChildProcess server{limitedServer(GetParam())};
    // The program in place of osascript prints how it was called.
    for (const auto& [tool, arguments] : std::map<std::string, std::string>{
             {"notes_search", R"({"query":"x"})"},
             {"notes_create", R"({"title":"x","body":"x"})"},
             {"mail_list", "{}"},
             {"mail_read", R"({"id":1})"},
             {"mail_create_draft", R"({"to":["a@b"],"subject":"s","body":"b"})"}}) {
        const Answer answer = call(server, tool, arguments);
        EXPECT_TRUE(answer.has("libexec/velmiro/osascript")) << tool << ": " << answer.text;
        EXPECT_FALSE(answer.isError) << tool << ": " << answer.text;
    }
}
