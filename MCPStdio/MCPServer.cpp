#include "MCPStdio/MCPServer.hpp"

#include "MCPStdio/JSONWriter.hpp"
#include "MCPStdio/LineSequence.hpp"
#include "MCPStdio/StandardStreams.hpp"
#include "MCPStdio/UTF8.hpp"
#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"

#include <algorithm>
#include <exception>

namespace MCPStdio {
namespace {

using RPCError = MCPServer::RPCError;

constexpr std::int64_t parseErrorCode = -32700;
constexpr std::int64_t methodNotFoundCode = -32601;
constexpr std::int64_t invalidParamsCode = -32602;
constexpr std::int64_t internalErrorCode = -32603;

/// The message in a line, when it is an object as every message is.
std::optional<JSONValue> readMessage(std::string_view line) {
    try {
        auto message = JSONValue::parse(line);
        if (message.kind() == JSONValue::Case::object) {
            return message;
        }
        return std::nullopt;
    } catch (const JSONError&) {
        return std::nullopt;
    }
}

// The envelopes are written around their content rather than built as values: members in the order
// of their keys, as the writer would put them.

std::string successEnvelope(const JSONValue& id, const JSONValue& result) {
    std::string text{"{\"id\":"};
    try {
        compactEncoder().append(text, id);
        text.append(",\"jsonrpc\":\"2.0\",\"result\":");
        compactEncoder().append(text, result);
    } catch (const JSONError&) {
        return {};
    }
    text.push_back('}');
    return text;
}

std::string errorEnvelope(const JSONValue& id, const RPCError& error) {
    std::string text{"{\"error\":{\"code\":"};
    text.append(std::to_string(error.code)).append(",\"message\":");
    appendJSONString(text, error.message);
    text.append("},\"id\":");
    compactEncoder().append(text, id); // it was read from a line, so it can be written
    text.append(",\"jsonrpc\":\"2.0\"}");
    return text;
}

/// The description of the exception that is being handled.
std::string currentDescription() {
    try {
        throw;
    } catch (const MCPToolError& error) {
        return repairUTF8(error.message); // whole, also where it quotes a NUL
    } catch (const std::exception& error) {
        return repairUTF8(error.what());
    } catch (...) {
        return "unknown error";
    }
}

JSONValue toolListEntry(const MCPTool& tool) {
    return JSONValue::object({
        {"name", tool.name},
        {"description", tool.description},
        {"inputSchema", tool.inputSchema},
        {"annotations", JSONValue::object({
                            {"readOnlyHint", tool.readOnly},
                            {"destructiveHint", false},
                        })},
    });
}

JSONValue toolCallResult(MCPToolResult result) {
    // Clients refuse a line that is not UTF-8, and a handler may pass on what it was given.
    const std::string text = repairUTF8(std::move(result.text));
    return JSONValue::object({
        {"content", JSONValue::array(JSONValue::object({{"type", "text"}, {"text", text}}))},
        {"isError", result.isError},
    });
}

/// Calls a handler. Whatever it throws is a result too: the call failed, the protocol did not.
Task<MCPToolResult> callHandler(const ToolHandler& handler, JSONValue arguments) {
    try {
        auto call = handler(std::move(arguments));
        auto result = co_await std::move(call);
        co_return std::move(result);
    } catch (...) {
        co_return MCPToolResult::error(currentDescription());
    }
}

} // namespace

MCPServer::MCPServer(std::string serverName, std::string serverVersion,
                     std::optional<std::string> serverInstructions, std::vector<MCPTool> tools)
    : name{std::move(serverName)},
      version{std::move(serverVersion)},
      instructions{std::move(serverInstructions)} {
    for (MCPTool& tool : tools) {
        order_.push_back(tool.name);
        tools_.insert_or_assign(order_.back(), std::move(tool));
    }
}

Task<void> MCPServer::run(int input, int output) {
    openClosedStandardStreams();
    LineSequence lines{input};
    LineSink replies{output};
    TaskGroup requests;
    while (auto line = lines.next()) {
        requests.add(answer(*std::move(line), replies));
    }
    co_await requests.finish();
    replies.finish();
}

Task<void> MCPServer::answer(std::string line, LineSink& output) {
    auto reply = co_await handleLine(std::move(line));
    if (reply) {
        output.send(*std::move(reply));
    }
}

Task<std::optional<std::string>> MCPServer::handleLine(std::string line) {
    auto turn = co_await actor_.enter();
    auto message = readMessage(line);
    std::string{}.swap(line); // a call may take long, and only the values are needed
    if (!message) {
        co_return errorEnvelope(nullptr, {parseErrorCode, "parse error"});
    }
    const JSONValue* method = (*message)["method"];
    const JSONValue* id = (*message)["id"];
    if (method == nullptr || !method->stringValue()) {
        co_return std::nullopt;
    }
    auto params = message->take("params").value_or(JSONValue::object());
    std::optional<RPCError> error;
    try {
        auto dispatched = dispatch(turn, *method->stringValue(), std::move(params));
        const auto result = co_await std::move(dispatched);
        co_return id == nullptr ? std::nullopt : std::optional{successEnvelope(*id, result)};
    } catch (const RPCError& thrown) {
        error = thrown;
    } catch (...) {
        error = RPCError{internalErrorCode, currentDescription()};
    }
    co_return id == nullptr ? std::nullopt : std::optional{errorEnvelope(*id, *error)};
}

/// Answers a method in the caller's turn, which it gives up while a tool works and has again when
/// it returns. Throws RPCError.
Task<JSONValue> MCPServer::dispatch(Actor::Turn& turn, std::string_view method, JSONValue params) {
    if (method == "initialize") {
        co_return initializeResult(params);
    }
    if (method == "ping") {
        co_return JSONValue::object();
    }
    if (method == "tools/list") {
        co_return toolsListResult();
    }
    if (method == "tools/call") {
        auto call = callTool(turn, std::move(params));
        auto result = co_await std::move(call);
        co_return std::move(result);
    }
    if (method.starts_with("notifications/")) {
        co_return nullptr;
    }
    throw RPCError{methodNotFoundCode, "method not found: " + std::string{method}};
}

Task<JSONValue> MCPServer::callTool(Actor::Turn& turn, JSONValue params) {
    const JSONValue* toolName = params["name"];
    if (toolName == nullptr || !toolName->stringValue()) {
        throw RPCError{invalidParamsCode, "missing tool name"};
    }
    const auto tool = tools_.find(*toolName->stringValue());
    if (tool == tools_.end()) {
        throw RPCError{invalidParamsCode, "unknown tool: " + std::string{*toolName->stringValue()}};
    }
    auto arguments = params.take("arguments").value_or(JSONValue::object());

    turn.end();
    // A handler may take long to reach its first wait: not on the thread that reads.
    co_await DispatchQueue::global().hop();
    auto call = callHandler(tool->second.handler, std::move(arguments));
    auto result = co_await std::move(call);
    auto nextTurn = co_await actor_.enter();
    turn = std::move(nextTurn);
    co_return toolCallResult(std::move(result));
}

JSONValue MCPServer::initializeResult(const JSONValue& params) const {
    const JSONValue* requested = params["protocolVersion"];
    const auto wanted = requested == nullptr ? std::nullopt : requested->stringValue();
    const bool supported = wanted && std::ranges::find(supportedProtocolVersions, *wanted) !=
                                         supportedProtocolVersions.end();
    auto result = JSONValue::object({
        {"protocolVersion", supported ? *wanted : supportedProtocolVersions.front()},
        {"capabilities",
         JSONValue::object({{"tools", JSONValue::object({{"listChanged", false}})}})},
        {"serverInfo", JSONValue::object({{"name", name}, {"version", version}})},
    });
    if (instructions) {
        result.set("instructions", *instructions);
    }
    return result;
}

JSONValue MCPServer::toolsListResult() const {
    auto entries = JSONValue::array();
    for (const std::string& toolName : order_) {
        entries.append(toolListEntry(tools_.at(toolName)));
    }
    return JSONValue::object({{"tools", std::move(entries)}});
}

} // namespace MCPStdio
