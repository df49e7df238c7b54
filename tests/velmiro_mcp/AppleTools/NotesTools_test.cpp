#include "MCPStdio/concurrency/SyncWait.hpp"
#include "tests/support/RecordedScripts.hpp"
#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/AppleTools/Scripts.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using velmiro::test::RecordedScripts;
using Calls = std::vector<RecordedScripts::Call>;

namespace {

class NotesTools : public testing::Test {
protected:
    RecordedScripts recorded;
    std::vector<MCPStdio::MCPTool> tools = notesTools(recorded.runner(), recorded.ask());

    MCPToolResult search(std::string_view arguments) { return call(0, arguments); }
    MCPToolResult create(std::string_view arguments) { return call(1, arguments); }
    MCPToolResult call(std::size_t tool, std::string_view arguments) {
        return MCPStdio::syncWait(tools.at(tool).handler(JSONValue::parse(arguments)));
    }
    std::string failure(std::size_t tool, std::string_view arguments) {
        try {
            call(tool, arguments);
            return "no failure";
        } catch (const MCPToolError& error) {
            return error.message;
        }
    }
    static RecordedScripts::Call searchFor(std::vector<std::string> arguments) {
        return RecordedScripts::run(scripts::notesSearch, std::move(arguments));
    }
    static RecordedScripts::Call creation(std::vector<std::string> arguments) {
        return RecordedScripts::run(scripts::notesCreate, std::move(arguments));
    }
};

} // namespace

TEST_F(NotesTools, AnnounceThemselves) {
    EXPECT_EQ(tools.size(), 2U);
    EXPECT_EQ(tools.at(0).name, "notes_search");
    EXPECT_EQ(tools.at(0).description,
              "Find notes in Apple Notes whose title or text contains the query.");
    EXPECT_TRUE(tools.at(0).readOnly);
    EXPECT_EQ(tools.at(0).inputSchema.jsonString(),
              R"({"additionalProperties":false,"properties":{"limit":{"maximum":30,"minimum":1,)"
              R"("type":"integer"},"query":{"type":"string"}},"required":["query"],)"
              R"("type":"object"})");
    EXPECT_EQ(tools.at(1).name, "notes_create");
    EXPECT_EQ(tools.at(1).description,
              "Create a note in Apple Notes. The user is asked to allow it first.");
    EXPECT_FALSE(tools.at(1).readOnly);
    EXPECT_EQ(tools.at(1).inputSchema.jsonString(),
              R"({"additionalProperties":false,"properties":{"body":{"type":"string"},)"
              R"("folder":{"type":"string"},"title":{"type":"string"}},)"
              R"("required":["title","body"],"type":"object"})");
}

TEST_F(NotesTools, SearchPassesTheTrimmedQueryAndALimitOfTen) {
    recorded.output = JSONValue::parse(R"({"notes":[{"name":"a/b","id":"x"}]})");
    EXPECT_EQ(search(R"({"query":" milk  and\neggs\u2003"})"),
              (MCPToolResult{R"({"notes":[{"id":"x","name":"a/b"}]})", false}));
    EXPECT_EQ(recorded.calls, Calls{searchFor({"milk  and\neggs", "10"})});
}

TEST_F(NotesTools, SearchTakesALimitFromOneToThirty) {
    search(R"({"query":"x","limit":1})");
    search(R"({"query":"x","limit":30})");
    search(R"({"query":"x","limit":"7"})");
    search(R"({"query":"x","limit":2.5})");
    search(R"({"query":"x","limit":null})");
    EXPECT_EQ(recorded.calls,
              (Calls{searchFor({"x", "1"}), searchFor({"x", "30"}), searchFor({"x", "7"}),
                     searchFor({"x", "3"}), searchFor({"x", "10"})}));
}

TEST_F(NotesTools, SearchRefusesAnyOtherLimit) {
    for (const char* limit : {"31", "0", "-1", "true", "\"many\"", "[]"}) {
        EXPECT_EQ(failure(0, R"({"query":"x","limit":)" + std::string{limit} + "}"),
                  "‘limit’ must be a whole number from 1 to 30");
    }
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(NotesTools, SearchRefusesAQueryThatIsMissingOrBlank) {
    for (const char* arguments :
         {"{}", R"({"query":"   "})", R"({"query":5})", R"({"query":null,"limit":99})", "[]"}) {
        EXPECT_EQ(failure(0, arguments), "‘query’ is required");
    }
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(NotesTools, SearchReturnsOutputThatIsNotJSONAsAString) {
    recorded.output = "plain \"text\"";
    EXPECT_EQ(search(R"({"query":"x"})"), (MCPToolResult{R"("plain \"text\"")", false}));
}

TEST_F(NotesTools, SearchPassesOnTheErrorOfTheScript) {
    recorded.error = "execution error: Error: Error: something (-2700)";
    EXPECT_EQ(failure(0, R"({"query":"x"})"), recorded.error);
}

TEST_F(NotesTools, CreateAsksWithTheTitleAloneAndThenRunsTheScript) {
    recorded.output = JSONValue::parse(R"({"created":true})");
    EXPECT_EQ(create(R"({"title":" Shopping ","body":"\n milk\n\n<eggs>\n","folder":" Home "})"),
              (MCPToolResult{R"({"created":true})", false}));
    EXPECT_EQ(recorded.calls, (Calls{RecordedScripts::question("notes_create: Shopping"),
                                     creation({"Shopping", "milk\n\n<eggs>", "Home"})}));
}

TEST_F(NotesTools, CreateTreatsABlankFolderAsNone) {
    create(R"({"title":"t","body":"b"})");
    create(R"({"title":"t","body":"b","folder":"  "})");
    create(R"({"title":"t","body":"b","folder":7})");
    const auto asked = RecordedScripts::question("notes_create: t");
    const auto ran = creation({"t", "b", ""});
    EXPECT_EQ(recorded.calls, (Calls{asked, ran, asked, ran, asked, ran}));
}

TEST_F(NotesTools, CreateKeepsEveryCharacter) {
    create(R"({"title":"</h1>${x} 'q' \"d\" \\","body":"a\r\nb\u0001\u200f😀\\n"})");
    EXPECT_EQ(recorded.calls.at(1),
              creation({"</h1>${x} 'q' \"d\" \\", "a\r\nb\x01\u200f😀\\n", ""}));
}

TEST_F(NotesTools, CreateRefusesAMissingTitleOrBodyBeforeItAsks) {
    EXPECT_EQ(failure(1, "{}"), "‘title’ is required");
    EXPECT_EQ(failure(1, R"({"title":" \n","body":""})"), "‘title’ is required");
    EXPECT_EQ(failure(1, R"({"title":"t"})"), "‘body’ is required");
    EXPECT_EQ(failure(1, R"({"title":"t","body":" \n "})"), "‘body’ is required");
    EXPECT_EQ(failure(1, R"({"title":"t","body":["b"]})"), "‘body’ is required");
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(NotesTools, ANoRunsNoScript) {
    recorded.allowed = false;
    EXPECT_EQ(create(R"({"title":" Shopping ","body":"milk","folder":"Home"})"),
              MCPToolResult::error(
                  "The user did not allow this (Shopping). Do not retry unless the user asks."));
    EXPECT_EQ(recorded.calls, Calls{RecordedScripts::question("notes_create: Shopping")});
}

TEST_F(NotesTools, CreatePassesOnTheErrorOfTheScript) {
    recorded.error = "execution error: Error: Error: no Notes folder named Attic (-2700)";
    EXPECT_EQ(failure(1, R"({"title":"t","body":"b","folder":"Attic"})"), recorded.error);
}
