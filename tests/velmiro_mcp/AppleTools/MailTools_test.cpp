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

class MailTools : public testing::Test {
protected:
    RecordedScripts recorded;
    std::vector<MCPStdio::MCPTool> tools = mailTools(recorded.runner(), recorded.ask());

    MCPToolResult list(std::string_view arguments) { return call(0, arguments); }
    MCPToolResult read(std::string_view arguments) { return call(1, arguments); }
    MCPToolResult draft(std::string_view arguments) { return call(2, arguments); }
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
    /// Returns the arguments of the last script.
    std::vector<std::string> lastArguments() { return recorded.calls.back().arguments; }
};

using Texts = std::vector<std::string>;

} // namespace

TEST_F(MailTools, AnnounceThemselves) {
    EXPECT_EQ(tools.size(), 3U);
    EXPECT_EQ(tools.at(0).name, "mail_list");
    EXPECT_EQ(tools.at(0).description, "List recent messages in the Mail inbox (newest first).");
    EXPECT_TRUE(tools.at(0).readOnly);
    EXPECT_EQ(tools.at(0).inputSchema.jsonString(),
              R"({"additionalProperties":false,"properties":{"days":{"maximum":31,"minimum":1,)"
              R"("type":"integer"},"limit":{"maximum":100,"minimum":1,"type":"integer"},)"
              R"("unread_only":{"type":"boolean"}},"required":[],"type":"object"})");
    EXPECT_EQ(tools.at(1).name, "mail_read");
    EXPECT_EQ(tools.at(1).description, "Read one inbox message (id from mail_list).");
    EXPECT_TRUE(tools.at(1).readOnly);
    EXPECT_EQ(tools.at(1).inputSchema.jsonString(),
              R"({"additionalProperties":false,"properties":{"id":{"type":"integer"}},)"
              R"("required":["id"],"type":"object"})");
    EXPECT_EQ(tools.at(2).name, "mail_create_draft");
    EXPECT_EQ(tools.at(2).description, "Save a message as a draft in Mail. It is never sent. The "
                                       "user is asked to allow it first.");
    EXPECT_FALSE(tools.at(2).readOnly);
    EXPECT_EQ(tools.at(2).inputSchema.jsonString(),
              R"({"additionalProperties":false,"properties":{"body":{"type":"string"},"cc":)"
              R"({"items":{"type":"string"},"type":"array"},"subject":{"type":"string"},"to":)"
              R"({"items":{"type":"string"},"type":"array"}},"required":["to","subject","body"],)"
              R"("type":"object"})");
}

TEST_F(MailTools, ListTwentyOfThreeDaysReadOrNotByDefault) {
    recorded.output = JSONValue::parse(R"({"messages":[{"subject":"s","read":true,"id":7}]})");
    EXPECT_EQ(list("{}"),
              (MCPToolResult{R"({"messages":[{"id":7,"read":true,"subject":"s"}]})", false}));
    EXPECT_EQ(recorded.calls, Calls{RecordedScripts::run(scripts::mailList, {"3", "20", "false"})});
}

TEST_F(MailTools, ListUpToThirtyOneDaysAndAHundredMessages) {
    list(R"({"days":31,"limit":100,"unread_only":true})");
    EXPECT_EQ(lastArguments(), (Texts{"31", "100", "true"}));
    list(R"({"days":1,"limit":1})");
    EXPECT_EQ(lastArguments(), (Texts{"1", "1", "false"}));
}

TEST_F(MailTools, ListRefusesDaysAndLimitsOutOfRange) {
    const std::string days = "‘days’ must be a whole number from 1 to 31";
    const std::string limit = "‘limit’ must be a whole number from 1 to 100";
    EXPECT_EQ(failure(0, R"({"days":32})"), days);
    EXPECT_EQ(failure(0, R"({"days":0,"limit":0})"), days);
    EXPECT_EQ(failure(0, R"({"limit":101})"), limit);
    EXPECT_EQ(failure(0, R"({"limit":0})"), limit);
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(MailTools, ListUnreadMessagesOnlyWhenItIsTheValueTrue) {
    for (const char* value : {"\"true\"", "1", "false", "null", "[true]"}) {
        list(R"({"unread_only":)" + std::string{value} + "}");
        EXPECT_EQ(lastArguments().at(2), "false") << value;
    }
}

TEST_F(MailTools, ReadPassesTheIdentifierAsAWholeNumber) {
    recorded.output = JSONValue::parse(R"({"id":42,"content":"hello"})");
    EXPECT_EQ(read(R"({"id":42})"), (MCPToolResult{R"({"content":"hello","id":42})", false}));
    EXPECT_EQ(recorded.calls, Calls{RecordedScripts::run(scripts::mailRead, {"42"})});
}

TEST_F(MailTools, ReadAcceptsAnyWholeNumberOfAnySize) {
    read(R"({"id":"0042"})");
    EXPECT_EQ(lastArguments(), Texts{"42"});
    read(R"({"id":-5})");
    EXPECT_EQ(lastArguments(), Texts{"-5"});
    read(R"({"id":2.5})");
    EXPECT_EQ(lastArguments(), Texts{"3"});
    read(R"({"id":"9223372036854775807"})");
    EXPECT_EQ(lastArguments(), Texts{"9223372036854775807"});
}

TEST_F(MailTools, ReadRefusesAnythingElseAsAnIdentifier) {
    for (const char* arguments : {"{}", R"({"id":null})", R"({"id":"x"})", R"({"id":true})",
                                  R"({"id":1e30})", R"({"id":" 4"})", "null"}) {
        EXPECT_EQ(failure(1, arguments), "‘id’ is required") << arguments;
    }
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(MailTools, ReadPassesOnTheErrorOfTheScript) {
    recorded.error = "execution error: Error: Error: no message with id 9 in the inbox (-2700)";
    EXPECT_EQ(failure(1, R"({"id":9})"), recorded.error);
}

TEST_F(MailTools, DraftAsksWithSubjectAndRecipientsAndThenRunsTheScript) {
    recorded.output = JSONValue::parse(R"({"saved_as_draft":true})");
    EXPECT_EQ(draft(R"({"to":[" a@x.org ","b@y.org"],"cc":["c@z.org"],"subject":" Lunch ",)"
                    R"("body":" See\n\nyou "})"),
              (MCPToolResult{R"({"saved_as_draft":true})", false}));
    EXPECT_EQ(recorded.calls,
              (Calls{RecordedScripts::question("mail_create_draft: Lunch → a@x.org, b@y.org"),
                     RecordedScripts::run(
                         scripts::mailCreateDraft,
                         {R"(["a@x.org","b@y.org"])", R"(["c@z.org"])", "Lunch", "See\n\nyou"})}));
}

TEST_F(MailTools, DraftTakesRecipientsAsOneTextToo) {
    draft(R"({"to":"a@x.org, b@y.org","cc":"c@z.org","subject":"s","body":"b"})");
    EXPECT_EQ(lastArguments(), (Texts{R"(["a@x.org","b@y.org"])", R"(["c@z.org"])", "s", "b"}));
}

TEST_F(MailTools, DraftWithoutCopiesPassesAnEmptyList) {
    draft(R"({"to":["a@x.org"],"subject":"s","body":"b"})");
    EXPECT_EQ(lastArguments(), (Texts{R"(["a@x.org"])", "[]", "s", "b"}));
}

TEST_F(MailTools, DraftPassesRecipientsOnUnchanged) {
    draft(R"({"to":["\"A / B\" <a@x.org>\\","@"],"cc":["nobody","😀"],"subject":"s","body":"b"})");
    EXPECT_EQ(lastArguments(),
              (Texts{R"(["\"A / B\" <a@x.org>\\","@"])", R"(["nobody","😀"])", "s", "b"}));
}

TEST_F(MailTools, DraftNeedsAtLeastOneAddressBeforeAnythingElse) {
    const std::string message = "‘to’ needs at least one address";
    EXPECT_EQ(failure(2, R"({"to":[],"subject":"s","body":"b"})"), message);
    EXPECT_EQ(failure(2, R"({"to":["  ",5]})"), message);
    EXPECT_EQ(failure(2, R"({"to":" , "})"), message);
    EXPECT_EQ(failure(2, "{}"), message);
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(MailTools, DraftRefusesARecipientWithoutAnAtSignBeforeSubjectAndBody) {
    const std::string message = "‘to’ must be email addresses";
    EXPECT_EQ(failure(2, R"({"to":["nobody"]})"), message);
    EXPECT_EQ(failure(2, R"({"to":["a@x.org","nobody"],"subject":"s","body":"b"})"), message);
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(MailTools, DraftRefusesAMissingSubjectOrBodyBeforeItAsks) {
    EXPECT_EQ(failure(2, R"({"to":["@"]})"), "‘subject’ is required");
    EXPECT_EQ(failure(2, R"({"to":["@"],"subject":" ","body":"b"})"), "‘subject’ is required");
    EXPECT_EQ(failure(2, R"({"to":["@"],"subject":"s"})"), "‘body’ is required");
    EXPECT_EQ(failure(2, R"({"to":["@"],"subject":"s","body":"\n"})"), "‘body’ is required");
    EXPECT_EQ(recorded.calls, Calls{});
}

TEST_F(MailTools, ANoRunsNoScript) {
    recorded.allowed = false;
    EXPECT_EQ(draft(R"({"to":["a@x.org","b@y.org"],"subject":" Lunch ","body":"b"})"),
              MCPToolResult::error("The user did not allow this (Lunch → a@x.org, b@y.org). Do not "
                                   "retry unless the user asks."));
    EXPECT_EQ(recorded.calls,
              Calls{RecordedScripts::question("mail_create_draft: Lunch → a@x.org, b@y.org")});
}
