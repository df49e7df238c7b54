// The reminder tools, over a database that records its calls and the questions to the user.

#include "MCPStdio/concurrency/SyncWait.hpp"
#include "support/ScopedVariable.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/services/EventStore.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using MCPStdio::syncWait;
using MCPStdio::Task;
using velmiro::support::ScopedVariable;
using velmiro::test::FakeEventDatabase;

namespace {

using Journal = std::vector<std::string>;

class RemindersTools : public testing::Test {
protected:
    enum Tool : std::size_t { list, create, complete };

    std::shared_ptr<FakeEventDatabase::Script> database =
        std::make_shared<FakeEventDatabase::Script>();
    EventStore store{std::make_unique<FakeEventDatabase>(database)};
    bool answer = true;
    std::function<void()> meanwhile = [] {}; ///< called while the user thinks
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    ScopedVariable locale{"LC_ALL", "en_GB.UTF-8"};
    std::vector<MCPStdio::MCPTool> tools =
        remindersTools(store, [this](std::string tool, std::string summary) -> Task<bool> {
            database->journal.push_back("ask " + tool + ": " + summary);
            meanwhile();
            co_return answer;
        });

    RemindersTools() {
        database->reminders.resize(2);
        database->reminders[0].identifier = "a";
        database->reminders[0].title = "Milk";
        database->reminders[1].identifier = "untitled";
    }
    MCPToolResult call(Tool tool, std::string_view arguments) {
        return syncWait(tools.at(tool).handler(JSONValue::parse(arguments)));
    }
    std::string failure(Tool tool, std::string_view arguments) {
        try {
            call(tool, arguments);
            return "no failure";
        } catch (const MCPToolError& error) {
            return error.message;
        }
    }
    Journal journalOf(Tool tool, std::string_view arguments) {
        database->journal.clear();
        try {
            call(tool, arguments);
        } catch (const MCPToolError& error) {
            database->journal.push_back("error " + error.message);
        }
        return database->journal;
    }
};

} // namespace

TEST_F(RemindersTools, AnnounceThemselves) {
    ASSERT_EQ(tools.size(), 3U);
    EXPECT_EQ(tools[list].name, "reminders_list");
    EXPECT_TRUE(tools[list].readOnly);
    EXPECT_EQ(tools[create].name, "reminders_create");
    EXPECT_FALSE(tools[create].readOnly);
    EXPECT_EQ(tools[complete].name, "reminders_complete");
    EXPECT_FALSE(tools[complete].readOnly);
}

TEST_F(RemindersTools, ListTheOpenOnesOfAllListsByDefault) {
    EXPECT_EQ(
        call(list, "{}").text,
        "{\n  \"reminders\" : [\n    {\n      \"completed\" : false,\n      \"id\" : \"a\",\n"
        "      \"list\" : \"\",\n      \"priority\" : 0,\n      \"title\" : \"Milk\"\n    },\n"
        "    {\n      \"completed\" : false,\n      \"id\" : \"untitled\",\n"
        "      \"list\" : \"\",\n      \"priority\" : 0,\n      \"title\" : \"\"\n    }\n  ]\n}");
    EXPECT_EQ(database->journal,
              (Journal{"authorizationStatus 1", "fetchReminders open - everywhere"}));
}

TEST_F(RemindersTools, ListIncludesCompletedOnesOnlyIfTheArgumentIsTrue) {
    EXPECT_EQ(journalOf(list, R"({"include_completed":true})").back(),
              "fetchReminders all - everywhere");
    for (const char* other : {R"("true")", "1", "null", "false", "[true]"}) {
        EXPECT_EQ(journalOf(list, R"({"include_completed":)" + std::string{other} + "}").back(),
                  "fetchReminders open - everywhere")
            << other;
    }
}

TEST_F(RemindersTools, ListOneListAndBeforeADate) {
    EXPECT_EQ(
        journalOf(list, R"({"list":" work ","due_before":"2026-10-14"})"),
        (Journal{"authorizationStatus 1", "calendars 1", "fetchReminders open 1791928800 l2"}));
}

TEST_F(RemindersTools, ListChecksTheDateBeforeAnythingElse) {
    const Journal found = journalOf(list, R"({"due_before":"soon","list":"Nowhere"})");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(found[0].starts_with("error ‘due_before’ ")) << found[0];
}

TEST_F(RemindersTools, CreateAsksFirstAndThenSaves) {
    EXPECT_EQ(call(create, R"({"title":" Milk ","due":"2026-10-14T15:00","priority":1,)"
                           R"("list":"work","notes":" fresh "})"),
              (MCPToolResult{"{\n  \"created\" : true,\n  \"id\" : \"new-id\"\n}", false}));
    EXPECT_EQ(database->journal,
              (Journal{"ask reminders_create: Milk — 14 Oct 2026, 15:00", "authorizationStatus 1",
                       "calendars 1", "saveReminder Milk in l2"}));
    EXPECT_EQ(database->savedReminder.notes, "fresh");
    EXPECT_EQ(database->savedReminder.priority, 1);
    EXPECT_EQ(database->savedReminder.due, parseDate("2026-10-14T15:00"));
}

TEST_F(RemindersTools, CreateWithoutADateAsksWithTheTitleAlone) {
    EXPECT_EQ(journalOf(create, R"({"title":"Milk"})"),
              (Journal{"ask reminders_create: Milk", "authorizationStatus 1",
                       "defaultListForNewReminders", "saveReminder Milk in l1"}));
    EXPECT_EQ(database->savedReminder.priority, 0);
    EXPECT_FALSE(database->savedReminder.due);
    EXPECT_FALSE(database->savedReminder.notes);
}

TEST_F(RemindersTools, CreateOnADayIsDueAtMidnightAndTheSummarySaysSo) {
    EXPECT_EQ(journalOf(create, R"({"title":"Milk","due":"2026-10-14"})").front(),
              "ask reminders_create: Milk — 14 Oct 2026, 00:00");
    EXPECT_EQ(database->savedReminder.due, parseDate("2026-10-14T00:00"));
}

TEST_F(RemindersTools, CreateTakesEveryPriorityFromZeroToNine) {
    for (int priority = 0; priority <= 9; ++priority) {
        call(create, R"({"title":"Milk","priority":)" + std::to_string(priority) + "}");
        EXPECT_EQ(database->savedReminder.priority, priority);
    }
    const std::string message = "‘priority’ must be a whole number from 0 to 9";
    EXPECT_EQ(failure(create, R"({"title":"Milk","priority":10})"), message);
    EXPECT_EQ(failure(create, R"({"title":"Milk","priority":-1})"), message);
    EXPECT_EQ(failure(create, R"({"title":"Milk","priority":"high"})"), message);
}

TEST_F(RemindersTools, CreateReportsTheFirstWrongArgumentBeforeAnythingElse) {
    EXPECT_EQ(journalOf(create, R"({"due":"soon","priority":10})"),
              Journal{"error ‘title’ is required"});
    const auto date = journalOf(create, R"({"title":"Milk","due":"soon","priority":10})");
    ASSERT_EQ(date.size(), 1U);
    EXPECT_TRUE(date[0].starts_with("error ‘due’ ")) << date[0];
    EXPECT_EQ(journalOf(create, R"({"title":"Milk","priority":10})"),
              Journal{"error ‘priority’ must be a whole number from 0 to 9"});
}

TEST_F(RemindersTools, ANoToCreatingChangesNothing) {
    answer = false;
    EXPECT_EQ(call(create, R"({"title":"Milk","list":"Nowhere"})"),
              (MCPToolResult{"The user did not allow this (Milk). Do not retry unless the user "
                             "asks.",
                             true}));
    EXPECT_EQ(database->journal, Journal{"ask reminders_create: Milk"});
}

TEST_F(RemindersTools, CreateChecksAccessAndTheListOnlyAfterTheQuestion) {
    EXPECT_EQ(journalOf(create, R"({"title":"Milk","list":"Nowhere"})"),
              (Journal{"ask reminders_create: Milk", "authorizationStatus 1", "calendars 1",
                       "error no list named ‘Nowhere’. Known: Reminders, Work"}));
    database->hasDefaultList = false;
    EXPECT_EQ(journalOf(create, R"({"title":"Milk"})").back(),
              "error there is no reminders list to add to");
    database->reminderAccess = AuthorizationStatus::denied;
    EXPECT_EQ(journalOf(create, R"({"title":"Milk"})").size(), 3U);
    EXPECT_FALSE(database->changed());
}

TEST_F(RemindersTools, CompleteLooksUpThenAsksThenChanges) {
    EXPECT_EQ(call(complete, R"({"id":" a "})"),
              (MCPToolResult{"{\n  \"completed\" : true\n}", false}));
    EXPECT_EQ(database->journal,
              (Journal{"authorizationStatus 1", "reminder a", "ask reminders_complete: Milk",
                       "authorizationStatus 1", "completeReminder a"}));
}

TEST_F(RemindersTools, CompleteSaysWhereTheOneAskedAboutWas) {
    database->reminders[0].storedAt = "here";
    meanwhile = [this] { database->reminders[0].storedAt = "there"; };
    EXPECT_EQ(journalOf(complete, R"({"id":"a"})").back(), "completeReminder a at here");
}

TEST_F(RemindersTools, CompleteOfOneWithoutATitleAsksWithAnEmptySummary) {
    EXPECT_EQ(journalOf(complete, R"({"id":"untitled"})")[2], "ask reminders_complete: ");
    answer = false;
    EXPECT_EQ(call(complete, R"({"id":"untitled"})").text,
              "The user did not allow this (). Do not retry unless the user asks.");
}

TEST_F(RemindersTools, ANoToCompletingChangesNothing) {
    answer = false;
    const MCPToolResult result = call(complete, R"({"id":"a"})");
    EXPECT_TRUE(result.isError);
    EXPECT_EQ(result.text,
              "The user did not allow this (Milk). Do not retry unless the user asks.");
    EXPECT_EQ(database->journal,
              (Journal{"authorizationStatus 1", "reminder a", "ask reminders_complete: Milk"}));
}

TEST_F(RemindersTools, CompleteOfAnUnknownOneAsksNothing) {
    EXPECT_EQ(journalOf(complete, R"({"id":"../../etc/passwd"})"),
              (Journal{"authorizationStatus 1", "reminder ../../etc/passwd",
                       "error no reminder with id ../../etc/passwd"}));
    EXPECT_EQ(failure(complete, "{\"id\":\"a\\u0000b\\nc\"}"),
              std::string("no reminder with id a\0b\nc", 25));
    EXPECT_FALSE(database->changed());
}

TEST_F(RemindersTools, CompleteWithoutAccessAsksNothing) {
    database->reminderAccess = AuthorizationStatus::denied;
    EXPECT_EQ(journalOf(complete, R"({"id":"a"})"),
              (Journal{"authorizationStatus 1",
                       "error Velmiro has no full access to Reminders. Ask the user to turn it on "
                       "in Velmiro › Settings › Connectors."}));
}

TEST_F(RemindersTools, CompleteNeedsAnId) {
    for (const char* arguments : {"{}", R"({"id":"  "})", R"({"id":7})"}) {
        EXPECT_EQ(journalOf(complete, arguments), Journal{"error ‘id’ is required"}) << arguments;
    }
}

TEST_F(RemindersTools, OneThatIsDeletedDuringTheQuestionIsUnknown) {
    meanwhile = [this] { database->reminders.clear(); };
    EXPECT_EQ(failure(complete, R"({"id":"a"})"), "no reminder with id a");
}

TEST_F(RemindersTools, CompletingACompletedOneAsksAndSavesAgain) {
    database->reminders[0].completed = true;
    EXPECT_EQ(journalOf(complete, R"({"id":"a"})").back(), "completeReminder a");
    EXPECT_EQ(call(complete, R"({"id":"a"})").text, "{\n  \"completed\" : true\n}");
}

TEST_F(RemindersTools, AnErrorWhileSavingReachesTheCaller) {
    database->saveError = "the disk is full";
    EXPECT_THROW(call(create, R"({"title":"Milk"})"), PlatformError);
    EXPECT_THROW(call(complete, R"({"id":"a"})"), PlatformError);
}
