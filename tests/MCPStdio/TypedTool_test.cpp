#include "MCPStdio/TypedTool.hpp"

#include "MCPStdio/MCPServer.hpp"
#include "MCPStdio/concurrency/Continuation.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"

#include <cmath>
#include <gtest/gtest.h>

using namespace MCPStdio;

namespace {

struct Numbers {
    std::vector<double> numbers;
    std::optional<std::string> unit;

    static constexpr auto jsonFields() {
        return std::tuple{field("numbers", &Numbers::numbers, "what to add up"),
                          field("unit", &Numbers::unit)};
    }
};

struct Sum {
    double sum = 0;

    static constexpr auto jsonFields() { return std::tuple{field("sum", &Sum::sum)}; }
};

Task<Sum> add(Numbers given) {
    Sum answer;
    for (const double number : given.numbers) {
        answer.sum += number;
    }
    co_return answer;
}

Task<JSONValue> unitOf(Numbers given) {
    co_return given.unit ? JSONValue{*given.unit} : JSONValue{};
}

Task<MCPToolResult> count(Numbers given) {
    if (given.numbers.empty()) {
        throw MCPToolError{"there are no numbers"};
    }
    co_return MCPToolResult{std::to_string(given.numbers.size()), false};
}

/// Returns the server's answer to a call of the tool `it` with these arguments.
std::string answerOf(const MCPTool& tool, const std::string& arguments) {
    MCPServer server{"typed", "1.0", std::nullopt, {tool}};
    auto answer = syncWait(server.handleLine(
        R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"it","arguments":)" +
        arguments + "}}"));
    return answer ? std::string{answer->view()} : "none";
}

std::string replyWith(const std::string& text, bool isError) {
    return R"({"id":1,"jsonrpc":"2.0","result":{"content":[{"text":")" + text +
           R"(","type":"text"}],"isError":)" + (isError ? "true" : "false") + "}}";
}

} // namespace

TEST(TypedTool, HasTheSchemaOfItsArguments) {
    const MCPTool tool = typedTool("it", "Add numbers.", true, add);
    EXPECT_EQ(tool.name, "it");
    EXPECT_EQ(tool.description, "Add numbers.");
    EXPECT_TRUE(tool.readOnly);
    EXPECT_EQ(tool.inputSchema.jsonString(),
              R"({"properties":{"numbers":{"description":"what to add up",)"
              R"("items":{"type":"number"},"type":"array"},"unit":{"type":"string"}},)"
              R"("required":["numbers"],"type":"object"})");
    EXPECT_FALSE(typedTool("it", "Add numbers.", false, add).readOnly);
}

TEST(TypedTool, AnswersWithAnyKindOfOutput) {
    EXPECT_EQ(answerOf(typedTool("it", "", true, add), R"({"numbers":[1,2,39.5]})"),
              replyWith(R"({\n  \"sum\" : 42.5\n})", false));
    EXPECT_EQ(answerOf(typedTool("it", "", true, unitOf), R"({"numbers":[],"unit":"m"})"),
              replyWith(R"(\"m\")", false));
    EXPECT_EQ(answerOf(typedTool("it", "", true, count), R"({"numbers":[1,2]})"),
              replyWith("2", false));
}

TEST(TypedTool, MayTakeNoArguments) {
    const auto answer = [](NoArguments) -> Task<JSONValue> { co_return 42; };
    const MCPTool tool = typedTool("it", "", true, answer);
    EXPECT_EQ(tool.inputSchema.jsonString(), R"({"properties":{},"type":"object"})");
    EXPECT_EQ(answerOf(tool, R"({"ignored":1})"), replyWith("42", false));
}

TEST(TypedTool, ArgumentsThatDoNotFitFailTheCallAndNameTheMember) {
    const MCPTool tool = typedTool("it", "", true, add);
    EXPECT_EQ(answerOf(tool, "{}"), replyWith("‘numbers’ is required", true));
    EXPECT_EQ(answerOf(tool, R"({"numbers":5})"), replyWith("‘numbers’ must be an array", true));
    EXPECT_EQ(answerOf(tool, R"({"numbers":[1,"2"]})"),
              replyWith("‘numbers[1]’ must be a number", true));
    EXPECT_EQ(answerOf(tool, "null"), replyWith("the value must be an object", true));
}

TEST(TypedTool, AHandlerFailsAsAnyOtherDoes) {
    EXPECT_EQ(answerOf(typedTool("it", "", true, count), R"({"numbers":[]})"),
              replyWith("there are no numbers", true));
    const auto failing = [](Numbers) -> Task<Sum> {
        throw std::runtime_error{"broken"};
        co_return Sum{};
    };
    EXPECT_EQ(answerOf(typedTool("it", "", true, failing), R"({"numbers":[]})"),
              replyWith("broken", true));
}

TEST(TypedTool, OutputWithoutAJSONFormIsAnEmptyObject) {
    const auto infinite = [](Numbers) -> Task<Sum> { co_return Sum{INFINITY}; };
    EXPECT_EQ(answerOf(typedTool("it", "", true, infinite), R"({"numbers":[]})"),
              replyWith("{}", false));
}

/// The captures of a coroutine belong to its function object, which the call has to keep.
TEST(TypedTool, CapturesLiveUntilTheCallHasEndedEvenIfTheToolIsGone) {
    const auto captured = std::make_shared<std::string>("captured");
    std::optional<MCPTool> tool =
        typedTool("it", "", true, [captured](Numbers) -> Task<MCPToolResult> {
            auto pause = blocking([] { return true; });
            const bool resumed = co_await pause;
            co_return MCPToolResult{*captured, !resumed};
        });
    auto call = tool->handler(JSONValue::object({{"numbers", JSONValue::array()}}));
    tool.reset();
    EXPECT_EQ(captured.use_count(), 2);
    EXPECT_EQ(syncWait(std::move(call)), (MCPToolResult{"captured", false}));
    EXPECT_EQ(captured.use_count(), 1);
}
