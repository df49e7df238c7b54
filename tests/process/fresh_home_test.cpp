// A home without any data of ours. Reading it creates nothing, so the server works on whatever the
// user links there later. The first item that is created makes the folders it needs.

#include "MCPStdio/json/JSONValue.hpp"
#include "tests/process/ServerUnderTest.hpp"
#include "tests/support/Answer.hpp"
#include "tests/support/FailingCalls.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <set>

using namespace velmiro::test;
using MCPStdio::JSONValue;
namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

Answer call(ChildProcess& server, const std::string& tool, const std::string& arguments = "{}") {
    server.writeLine(callLine(1, tool, arguments));
    return answerIn(server.readLine());
}

const std::string eventOfDay = R"({"start":"2026-10-14","days":1})";
const std::string newEvent = R"({"title":"Dentist","start":"2026-10-14T15:00"})";
const std::string newReminder = R"({"title":"Milk"})";

class FreshHome : public testing::Test {
protected:
    TemporaryFolder home;
    TemporaryFolder elsewhere; ///< what is not the user's home: the socket, linked folders
    fs::path data = home.path() / "Library/Application Support/Velmiro";
    ScriptedHost host{elsewhere.path() / "approval.sock", [](int connection) {
                          readQuestion(connection);
                          answerWith(connection, "{\"allow\":true}\n");
                      }};

    [[nodiscard]] ChildProcess::Options options() const {
        auto made = serverIn(home);
        made.environment["VELMIRO_APPROVAL_SOCKET"] = (elsewhere.path() / "approval.sock").string();
        return made;
    }
    /// Returns the names of the entries in a folder, hidden ones too, in order.
    static Texts namesIn(const fs::path& folder) {
        std::set<std::string> names;
        if (fs::exists(folder)) {
            for (const auto& entry : fs::directory_iterator{folder}) {
                names.insert(entry.path().filename().string());
            }
        }
        return {names.begin(), names.end()};
    }
    /// Returns the number of files named .ics in a folder.
    static std::size_t itemsIn(const fs::path& folder) {
        const Texts names = namesIn(folder);
        return static_cast<std::size_t>(std::ranges::count_if(
            names, [](const std::string& name) { return name.ends_with(".ics"); }));
    }
};

} // namespace

TEST_F(FreshHome, ReadingWithEveryToolCreatesNothing) {
    struct Reading {
        std::string tool;
        std::string arguments;
        std::string answer;
        bool takesScripts = false;
    };
    const std::vector<Reading> readings{
        {"calendar_list_events", "{}", "{\n  \"events\" : []\n}"},
        {"calendar_list_events", R"({"calendar":"calendar"})", "{\n  \"events\" : []\n}"},
        {"calendar_list_events", R"({"calendar":"Work"})",
         "no calendar named ‘Work’. Known: Calendar"},
        {"reminders_list", "{}", "{\n  \"reminders\" : []\n}"},
        {"reminders_list", R"({"list":"Reminders","include_completed":true})",
         "{\n  \"reminders\" : []\n}"},
        {"reminders_list", R"({"list":"Home"})", "no list named ‘Home’. Known: Reminders"},
        {"contacts_search", R"({"query":"anna"})", "{\n  \"contacts\" : []\n}"},
        {"notes_search", R"({"query":"tea"})", R"({"notes":[]})", true},
        {"mail_list", "{}", R"({"messages":[]})", true},
        {"mail_read", R"({"id":1})", "no message with id 1 in the inbox", true},
    };
    ChildProcess server{options()};
    server.writeLine(R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})");
    const auto catalogue = JSONValue::parse(server.readLine().value_or("{}"));
    const auto tools = *(*catalogue["result"])["tools"]->arrayValue();
    for (const JSONValue& tool : tools) {
        const std::string name{*tool["name"]->stringValue()};
        const bool isCalled = std::ranges::find(readings, name, &Reading::tool) != readings.end();
        EXPECT_EQ(isCalled, (*tool["annotations"])["readOnlyHint"]->boolValue() == true) << name;
    }
    for (const Reading& reading : readings) {
        const Answer answer = call(server, reading.tool, reading.arguments);
        if (!reading.takesScripts) {
            EXPECT_EQ(answer.text, reading.answer) << reading.tool << reading.arguments;
        } else if (std::string_view{PLATFORM} == "local" && !fs::exists("/usr/bin/osascript")) {
            EXPECT_NE(answer.text.find(reading.answer), std::string::npos)
                << reading.tool << ": " << answer.text;
        }
        EXPECT_EQ(namesIn(home.path()), Texts{}) << reading.tool << reading.arguments;
    }
    // A tool that changes something reads first, and finds nothing to change.
    EXPECT_EQ(call(server, "reminders_complete", R"({"id":"milk"})").text,
              "no reminder with id milk");
    EXPECT_EQ(call(server, "calendar_create_event",
                   R"({"title":"x","start":"2026-10-14","calendar":"Work"})")
                  .text,
              "no calendar named ‘Work’. Known: Calendar");
    EXPECT_EQ(namesIn(home.path()), Texts{});
}

TEST_F(FreshHome, ItemsCreatedAreReadByAnotherServer) {
    {
        ChildProcess server{options()};
        EXPECT_FALSE(call(server, "calendar_create_event", newEvent).isError);
        EXPECT_FALSE(call(server, "reminders_create", newReminder).isError);
        EXPECT_NE(call(server, "calendar_list_events", eventOfDay).text.find("Dentist"),
                  std::string::npos);
    }
    EXPECT_EQ(namesIn(data), (Texts{"Calendars", "Reminders"}));
    EXPECT_EQ(itemsIn(data / "Calendars/Calendar"), 1U);
    EXPECT_EQ(itemsIn(data / "Reminders/Reminders"), 1U);
    ChildProcess server{options()};
    EXPECT_NE(
        call(server, "calendar_list_events", eventOfDay).text.find(R"("calendar" : "Calendar")"),
        std::string::npos);
    EXPECT_NE(call(server, "reminders_list", R"({"list":"reminders"})")
                  .text.find(R"("list" : "Reminders")"),
              std::string::npos);
}

TEST_F(FreshHome, FoldersThatAreLinkedAfterAReadAreTheOnesWorkedOn) {
    ChildProcess server{options()};
    EXPECT_FALSE(call(server, "calendar_list_events").isError);
    EXPECT_FALSE(call(server, "reminders_list").isError);
    EXPECT_FALSE(call(server, "contacts_search", R"({"query":"anna"})").isError);
    elsewhere.write("calendars/work/displayname", "Work");
    elsewhere.write("todo/home/displayname", "Home");
    elsewhere.write("contacts/anna.vcf",
                    "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Berg;Anna\r\nEND:VCARD\r\n");
    fs::create_directories(data);
    fs::create_directory_symlink(elsewhere.path() / "calendars", data / "Calendars");
    fs::create_directory_symlink(elsewhere.path() / "todo", data / "Reminders");
    fs::create_directory_symlink(elsewhere.path() / "contacts", data / "Contacts");

    EXPECT_FALSE(call(server, "calendar_create_event", newEvent).isError);
    EXPECT_FALSE(call(server, "reminders_create", newReminder).isError);
    EXPECT_EQ(itemsIn(elsewhere.path() / "calendars/work"), 1U);
    EXPECT_EQ(itemsIn(elsewhere.path() / "todo/home"), 1U);
    EXPECT_EQ(namesIn(elsewhere.path() / "calendars"), Texts{"work"});
    EXPECT_EQ(namesIn(elsewhere.path() / "todo"), Texts{"home"});
    EXPECT_NE(call(server, "contacts_search", R"({"query":"anna"})").text.find("Berg"),
              std::string::npos);
    // The name that the missing folder had is not theirs.
    EXPECT_EQ(call(server, "calendar_create_event",
                   R"({"title":"x","start":"2026-10-14","calendar":"Calendar"})")
                  .text,
              "no calendar named ‘Calendar’. Known: Work");
}

TEST_F(FreshHome, ALinkMadeWhileTheUserIsAskedIsTheOneWorkedOn) {
    const TemporaryFolder other;
    const ScriptedHost linking{other.path() / "approval.sock", [&](int connection) {
                                   readQuestion(connection);
                                   elsewhere.write("calendars/work/displayname", "Work");
                                   fs::create_directories(data);
                                   fs::create_directory_symlink(elsewhere.path() / "calendars",
                                                                data / "Calendars");
                                   answerWith(connection, "{\"allow\":true}\n");
                               }};
    auto changed = options();
    changed.environment["VELMIRO_APPROVAL_SOCKET"] = (other.path() / "approval.sock").string();
    ChildProcess server{changed};
    EXPECT_FALSE(call(server, "calendar_list_events").isError);
    EXPECT_FALSE(call(server, "calendar_create_event", newEvent).isError);
    EXPECT_EQ(itemsIn(elsewhere.path() / "calendars/work"), 1U);
    EXPECT_EQ(namesIn(elsewhere.path() / "calendars"), Texts{"work"});
}

TEST_F(FreshHome, SeveralServersCreateTheFoldersOnce) {
    constexpr int rounds = 10;
    constexpr int calls = 6;
    for (int round = 0; round < rounds; ++round) {
        fs::remove_all(home.path() / "Library");
        std::array<ChildProcess, 3> servers{ChildProcess{options()}, ChildProcess{options()},
                                            ChildProcess{options()}};
        for (int id = 0; id < calls; ++id) {
            for (const ChildProcess& server : servers) {
                server.writeLine(id % 2 == 0 ? callLine(id, "calendar_create_event", newEvent)
                                             : callLine(id, "reminders_create", newReminder));
            }
        }
        for (ChildProcess& server : servers) {
            for (int id = 0; id < calls; ++id) {
                const Answer answer = answerIn(server.readLine());
                EXPECT_FALSE(answer.isError) << answer.text;
            }
        }
        ASSERT_EQ(namesIn(data), (Texts{"Calendars", "Reminders"}));
        ASSERT_EQ(namesIn(data / "Calendars"), Texts{"Calendar"});
        ASSERT_EQ(namesIn(data / "Reminders"), Texts{"Reminders"});
        ASSERT_EQ(itemsIn(data / "Calendars/Calendar"), 9U);
        ASSERT_EQ(itemsIn(data / "Reminders/Reminders"), 9U);
    }
}

TEST_F(FreshHome, AFileSystemThatCannotRefuseATakenNameIsNoObstacle) {
    FailingCalls calls{FAILING_CALLS};
    calls.arm({.calls = static_cast<std::uint32_t>(Call::rename), .error = EINVAL});
    auto without = options();
    without.environment.merge(calls.environment());
    ChildProcess server{without};
    EXPECT_FALSE(call(server, "calendar_create_event", newEvent).isError);
    EXPECT_EQ(namesIn(data), Texts{"Calendars"});
    EXPECT_EQ(itemsIn(data / "Calendars/Calendar"), 1U);
}
