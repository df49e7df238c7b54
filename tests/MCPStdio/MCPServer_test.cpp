#include "MCPStdio/MCPServer.hpp"

#include "MCPStdio/concurrency/Continuation.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/transport/LineSequence.hpp"
#include "support/Pipe.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>
#include <unistd.h>

using namespace MCPStdio;

namespace {

MCPTool tool(std::string name, ToolHandler handler) {
    return {std::move(name), "A tool.", JSONValue::object({{"type", "object"}}), true,
            std::move(handler)};
}

Task<MCPToolResult> returnArguments(JSONValue arguments) {
    co_return MCPToolResult{arguments.jsonString(), false};
}

Task<MCPToolResult> failWithMessage(JSONValue /*arguments*/) {
    throw MCPToolError{"‘x’ is wrong"};
    co_return MCPToolResult{};
}

Task<MCPToolResult> failWithStandardException(JSONValue /*arguments*/) {
    throw std::runtime_error{"the disk is full"};
    co_return MCPToolResult{};
}

Task<MCPToolResult> failWithForeignException(JSONValue /*arguments*/) {
    throw 42;
    co_return MCPToolResult{};
}

/// Throws when called, before there is a task.
Task<MCPToolResult> failBeforeTheTask(JSONValue /*arguments*/) {
    throw MCPToolError{"no task"};
}

MCPServer makeServer(std::optional<std::string> instructions = "Be kind.") {
    return {"test-server",
            "3.2",
            std::move(instructions),
            {tool("args", returnArguments), tool("agent", failWithMessage),
             tool("other", failWithStandardException), tool("strange", failWithForeignException),
             tool("early", failBeforeTheTask)}};
}

std::string answerOf(MCPServer& server, std::string_view line) {
    const auto reply = syncWait(server.handleLine(std::string{line}));
    return reply ? std::string{reply->view()} : "(nothing)";
}

std::string answerOf(std::string_view line) {
    MCPServer server = makeServer();
    return answerOf(server, line);
}

constexpr const char* parseError =
    R"({"error":{"code":-32700,"message":"parse error"},"id":null,"jsonrpc":"2.0"})";
constexpr const char* nothing = "(nothing)";

} // namespace

TEST(MCPServerTransport, AnythingButAJSONObjectIsAParseErrorWithANullId) {
    EXPECT_EQ(answerOf("   "), parseError);
    EXPECT_EQ(answerOf("{"), parseError);
    EXPECT_EQ(answerOf("5"), parseError);
    EXPECT_EQ(answerOf("\"text\""), parseError);
    EXPECT_EQ(answerOf(R"([{"id":1,"method":"ping"},{"id":2,"method":"ping"}])"), parseError);
    EXPECT_EQ(answerOf(std::string(100'000, '[')), parseError);
    EXPECT_EQ(answerOf(R"({"id":1,"method":"ping"} {})"), parseError);
}

TEST(MCPServerTransport, AnObjectWhoseMethodIsNoStringIsIgnored) {
    EXPECT_EQ(answerOf(R"({"id":1})"), nothing);
    EXPECT_EQ(answerOf(R"({"id":1,"method":5})"), nothing);
    EXPECT_EQ(answerOf(R"({"id":1,"method":null})"), nothing);
    EXPECT_EQ(answerOf(R"({})"), nothing);
}

TEST(MCPServerTransport, ARequestWithoutIdIsNeverAnswered) {
    EXPECT_EQ(answerOf(R"({"method":"ping"})"), nothing);
    EXPECT_EQ(answerOf(R"({"method":"no/such/method"})"), nothing);
    EXPECT_EQ(answerOf(R"({"method":"notifications/initialized"})"), nothing);
    EXPECT_EQ(answerOf(R"({"method":"tools/call","params":{"name":"agent"}})"), nothing);
    EXPECT_EQ(answerOf(R"({"method":"tools/call"})"), nothing);
}

TEST(MCPServerTransport, TheIdIsEchoedAsTheWriterWritesIt) {
    EXPECT_EQ(answerOf(R"({"id":null,"method":"ping"})"),
              R"({"id":null,"jsonrpc":"2.0","result":{}})");
    EXPECT_EQ(answerOf(R"({"id":1.0,"method":"ping"})"), R"({"id":1,"jsonrpc":"2.0","result":{}})");
    EXPECT_EQ(answerOf(R"({"id":"7","method":"ping"})"),
              R"({"id":"7","jsonrpc":"2.0","result":{}})");
    EXPECT_EQ(answerOf(R"({"id":{"a":[1]},"method":"ping"})"),
              R"({"id":{"a":[1]},"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServerTransport, TheJsonrpcMemberIsNotCheckedAndUnknownOnesAreIgnored) {
    EXPECT_EQ(answerOf(R"({"jsonrpc":"1.0","id":1,"method":"ping","x":{}})"),
              R"({"id":1,"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServerDispatch, AnUnknownMethodIsNamedInTheError) {
    EXPECT_EQ(
        answerOf(R"({"id":1,"method":"resources/list"})"),
        R"({"error":{"code":-32601,"message":"method not found: resources/list"},"id":1,"jsonrpc":"2.0"})");
}

TEST(MCPServerDispatch, PingIsAnEmptyObjectWhateverTheParams) {
    EXPECT_EQ(answerOf(R"({"id":1,"method":"ping","params":[1,2]})"),
              R"({"id":1,"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServerDispatch, InitializeAnswersASupportedVersionAndElseTheFirst) {
    const auto version = [](const std::string& params) {
        const auto reply =
            JSONValue::parse(answerOf(R"({"id":1,"method":"initialize")" + params + "}"));
        return std::string{*(*(*reply["result"])["protocolVersion"]).stringValue()};
    };
    for (const auto supported : MCPServer::supportedProtocolVersions) {
        EXPECT_EQ(version(R"(,"params":{"protocolVersion":")" + std::string{supported} + "\"}"),
                  supported);
    }
    EXPECT_EQ(version(R"(,"params":{"protocolVersion":"2099-01-01"})"), "2025-06-18");
    EXPECT_EQ(version(R"(,"params":{"protocolVersion":5})"), "2025-06-18");
    EXPECT_EQ(version(R"(,"params":[])"), "2025-06-18");
    EXPECT_EQ(version(""), "2025-06-18");
}

TEST(MCPServerDispatch, InitializeNamesTheServer) {
    EXPECT_EQ(
        answerOf(R"({"id":1,"method":"initialize"})"),
        R"({"id":1,"jsonrpc":"2.0","result":{"capabilities":{"tools":{"listChanged":false}},"instructions":"Be kind.","protocolVersion":"2025-06-18","serverInfo":{"name":"test-server","version":"3.2"}}})");
}

TEST(MCPServerDispatch, WithoutInstructionsThereIsNoSuchMember) {
    MCPServer server = makeServer(std::nullopt);
    EXPECT_EQ(
        answerOf(server, R"({"id":1,"method":"initialize"})"),
        R"({"id":1,"jsonrpc":"2.0","result":{"capabilities":{"tools":{"listChanged":false}},"protocolVersion":"2025-06-18","serverInfo":{"name":"test-server","version":"3.2"}}})");
}

TEST(MCPServerDispatch, ToolsAreListedInTheOrderInWhichTheyWereGiven) {
    MCPServer server{
        "s", "1", std::nullopt, {tool("b", returnArguments), tool("a", returnArguments)}};
    EXPECT_EQ(
        answerOf(server, R"({"id":1,"method":"tools/list","params":{"cursor":"x"}})"),
        R"({"id":1,"jsonrpc":"2.0","result":{"tools":[)"
        R"({"annotations":{"destructiveHint":false,"readOnlyHint":true},"description":"A tool.","inputSchema":{"type":"object"},"name":"b"},)"
        R"({"annotations":{"destructiveHint":false,"readOnlyHint":true},"description":"A tool.","inputSchema":{"type":"object"},"name":"a"}]}})");
}

TEST(MCPServerDispatch, OfTwoToolsWithOneNameTheLaterIsListedTwiceAndCalled) {
    auto later = tool("same", returnArguments);
    later.description = "The later one.";
    MCPServer server{"s", "1", std::nullopt, {tool("same", failWithMessage), later}};
    const auto reply = JSONValue::parse(answerOf(server, R"({"id":1,"method":"tools/list"})"));
    const JSONValue* listed = (*reply["result"])["tools"];
    ASSERT_EQ(listed->arrayValue()->size(), 2U);
    EXPECT_EQ(*(*listed)[0], *(*listed)[1]);
    EXPECT_EQ((*(*listed)[0])["description"]->stringValue(), "The later one.");
    EXPECT_EQ(
        answerOf(server, R"({"id":1,"method":"tools/call","params":{"name":"same"}})"),
        R"({"id":1,"jsonrpc":"2.0","result":{"content":[{"text":"{}","type":"text"}],"isError":false}})");
}

TEST(MCPServerDispatch, AServerWithoutToolsListsNone) {
    MCPServer server{"s", "1", std::nullopt, {}};
    EXPECT_EQ(answerOf(server, R"({"id":1,"method":"tools/list"})"),
              R"({"id":1,"jsonrpc":"2.0","result":{"tools":[]}})");
}

TEST(MCPServerDispatch, ACallNeedsTheNameOfATool) {
    const std::string missing =
        R"({"error":{"code":-32602,"message":"missing tool name"},"id":1,"jsonrpc":"2.0"})";
    EXPECT_EQ(answerOf(R"({"id":1,"method":"tools/call"})"), missing);
    EXPECT_EQ(answerOf(R"({"id":1,"method":"tools/call","params":{"name":5}})"), missing);
    EXPECT_EQ(answerOf(R"({"id":1,"method":"tools/call","params":["args"]})"), missing);
    EXPECT_EQ(answerOf(R"({"id":1,"method":"tools/call","params":{"name":"x"}})"),
              R"({"error":{"code":-32602,"message":"unknown tool: x"},"id":1,"jsonrpc":"2.0"})");
}

TEST(MCPServerDispatch, ArgumentsArePassedOnUnchangedAndMissingOnesAreAnEmptyObject) {
    const auto passed = [](const std::string& arguments) {
        const auto reply = JSONValue::parse(answerOf(
            R"({"id":1,"method":"tools/call","params":{"name":"args")" + arguments + "}}"));
        return std::string{*(*(*(*(*reply["result"])["content"])[0])["text"]).stringValue()};
    };
    EXPECT_EQ(passed(""), "{}");
    EXPECT_EQ(passed(R"(,"arguments":null)"), "null");
    EXPECT_EQ(passed(R"(,"arguments":[1])"), "[1]");
    EXPECT_EQ(passed(R"(,"arguments":{"b":1,"a":"x"})"), R"({"a":"x","b":1})");
}

TEST(MCPServerDispatch, AFailingToolIsASuccessfulResponseThatSaysSo) {
    const auto result = [](const std::string& name) {
        return answerOf(R"({"id":1,"method":"tools/call","params":{"name":")" + name + "\"}}");
    };
    const auto error = [](const std::string& text) {
        return R"({"id":1,"jsonrpc":"2.0","result":{"content":[{"text":")" + text +
               R"(","type":"text"}],"isError":true}})";
    };
    EXPECT_EQ(result("agent"), error("‘x’ is wrong"));
    EXPECT_EQ(result("other"), error("the disk is full"));
    EXPECT_EQ(result("strange"), error("unknown error"));
    EXPECT_EQ(result("early"), error("no task"));
}

TEST(MCPServerDispatch, ANotificationSentAsARequestGivesNull) {
    EXPECT_EQ(answerOf(R"({"id":1,"method":"notifications/cancelled"})"),
              R"({"id":1,"jsonrpc":"2.0","result":null})");
}

TEST(MCPServerTransport, AResponseThatCannotBeEncodedIsAnEmptyLine) {
    auto broken = tool("broken", returnArguments);
    broken.inputSchema = JSONValue::object({{"minimum", NAN}});
    MCPServer server{"s", "1", std::nullopt, {broken}};
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(answerOf(server, R"({"id":1,"method":"tools/list"})"), "");
    }
    EXPECT_EQ(answerOf(server, R"({"id":1,"method":"ping"})"),
              R"({"id":1,"jsonrpc":"2.0","result":{}})");
}

TEST(MCPServerDispatch, IllFormedUTF8FromAHandlerIsRepaired) {
    MCPServer server{"s", "1", std::nullopt, {tool("latin", [](JSONValue) -> Task<MCPToolResult> {
                         co_return MCPToolResult{"caf\xE9", false};
                     })}};
    EXPECT_EQ(
        answerOf(server, R"({"id":1,"method":"tools/call","params":{"name":"latin"}})"),
        "{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{\"content\":[{\"text\":\"caf\xEF\xBF\xBD\","
        "\"type\":\"text\"}],\"isError\":false}}");
}

TEST(MCPServerDispatch, ACallThatLacksMemoryIsAnErrorThatSaysWhatMayHaveChanged) {
    const auto lackMemory = [](JSONValue) -> Task<MCPToolResult> {
        throw std::bad_alloc{};
        co_return MCPToolResult{};
    };
    MCPTool writing = tool("write", lackMemory);
    writing.readOnly = false;
    MCPServer server{"s", "1", std::nullopt, {tool("read", lackMemory), std::move(writing)}};
    const auto error = [](const std::string& text) {
        return R"({"id":1,"jsonrpc":"2.0","result":{"content":[{"text":")" + text +
               R"(","type":"text"}],"isError":true}})";
    };
    EXPECT_EQ(answerOf(server, R"({"id":1,"method":"tools/call","params":{"name":"read"}})"),
              error("out of memory"));
    EXPECT_EQ(answerOf(server, R"({"id":1,"method":"tools/call","params":{"name":"write"}})"),
              error("out of memory. Whether anything was changed cannot be told: look before "
                    "trying again"));
}

TEST(MCPServerTransport, EveryLineIsAnsweredUntilTheInputEnds) {
    auto input = velmiro::support::makePipe();
    auto output = velmiro::support::makePipe();
    const std::string lines =
        "{\"id\":1,\"method\":\"ping\"}\nno JSON\n{\"method\":\"notifications/initialized\"}\n"
        "{\"id\":2,\"method\":\"tools/call\",\"params\":{\"name\":\"args\"}}\n"
        "{\"id\":3,\"method\":\"ping\"}";
    ASSERT_EQ(::write(input.writing.get(), lines.data(), lines.size()),
              static_cast<ssize_t>(lines.size()));
    input.writing.close();
    MCPServer server = makeServer();
    syncWait(server.run(input.reading.get(), output.writing.get()));
    output.writing.close();
    std::multiset<std::string> replies; // they may overtake one another
    LineSequence sequence{output.reading.get()};
    while (const auto reply = sequence.next()) {
        replies.emplace(*reply);
    }
    EXPECT_EQ(replies, (std::multiset<std::string>{
                           parseError, R"({"id":1,"jsonrpc":"2.0","result":{}})",
                           R"({"id":2,"jsonrpc":"2.0","result":{"content":[{"text":"{}",)"
                           R"("type":"text"}],"isError":false}})",
                           R"({"id":3,"jsonrpc":"2.0","result":{}})"}));
}

TEST(MCPServerConcurrency, AHandlerRunsNeitherOnTheCallersThreadNorInsideTheActor) {
    MCPServer* calledAgain = nullptr;
    std::thread::id handlerThread;
    MCPServer server{"s", "1", std::nullopt, {tool("nested", [&](JSONValue) -> Task<MCPToolResult> {
                         handlerThread = std::this_thread::get_id();
                         // Would deadlock if the handler held the server's turn.
                         auto again = calledAgain->handleLine(R"({"id":2,"method":"ping"})");
                         auto reply = co_await std::move(again);
                         co_return MCPToolResult{std::string{reply->view()}, false};
                     })}};
    calledAgain = &server;
    const auto reply =
        answerOf(server, R"({"id":1,"method":"tools/call","params":{"name":"nested"}})");
    EXPECT_NE(reply.find(R"(\"result\":{})"), std::string::npos) << reply;
    EXPECT_NE(handlerThread, std::this_thread::get_id());
}
