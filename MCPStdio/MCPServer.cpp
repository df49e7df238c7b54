#include "MCPStdio/MCPServer.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"
#include "MCPStdio/json/JSONWriter.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "MCPStdio/transport/LineSequence.hpp"
#include "MCPStdio/transport/StandardStreams.hpp"

#include <algorithm>
#include <exception>
#include <new>

namespace MCPStdio {
namespace {

using RPCError = MCPServer::RPCError;

constexpr std::int64_t parseErrorCode = -32700;
constexpr std::int64_t methodNotFoundCode = -32601;
constexpr std::int64_t invalidParamsCode = -32602;
constexpr std::int64_t internalErrorCode = -32603;

const JSONValue nothing; // the id of what has none

/// The message in a line, when it is an object as every message is, and memory holds it.
std::optional<JSONValue> readMessage(std::string_view line) {
    try {
        auto message = JSONValue::parse(line);
        if (message.kind() == JSONValue::Case::object) {
            return message;
        }
        return std::nullopt;
    } catch (const JSONError&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

// Answers are written around their content rather than built as values: members in the order of
// their keys, as the writer would put them.

TextBuffer beginSuccess(const JSONValue& id) {
    TextBuffer text;
    text.append("{\"id\":");
    compactEncoder().append(text, id);
    text.append(",\"jsonrpc\":\"2.0\",\"result\":");
    return text;
}

TextBuffer writtenSuccess(const JSONValue& id, std::string_view result) {
    TextBuffer text = beginSuccess(id);
    static_cast<void>(text.room(result.size() + 2)); // and what ends the line
    text.append(result);
    text.append('}');
    return text;
}

TextBuffer success(const JSONValue& id, const JSONValue& result) {
    TextBuffer text = beginSuccess(id);
    compactEncoder().append(text, result);
    text.append('}');
    return text;
}

TextBuffer callSuccess(const JSONValue& id, MCPToolResult result) {
    TextBuffer text = beginSuccess(id);
    text.append("{\"content\":[{\"text\":");
    // Clients refuse a line that is not UTF-8, and a handler may pass on what it was given.
    appendJSONString(text, repairUTF8(std::move(result.text)));
    text.append(",\"type\":\"text\"}],\"isError\":");
    text.append(result.isError ? "true}}" : "false}}");
    return text;
}

TextBuffer failure(const JSONValue& id, const RPCError& error) {
    TextBuffer text;
    text.append("{\"error\":{\"code\":");
    text.append(std::to_string(error.code));
    text.append(",\"message\":");
    appendJSONString(text, error.message);
    text.append("},\"id\":");
    compactEncoder().append(text, id);
    text.append(",\"jsonrpc\":\"2.0\"}");
    return text;
}

/// Sends a reply, or, where there is no memory to send it with, a short one instead.
template <typename Send>
void sendOrSayWhyNot(const Send& send, const JSONValue& id, TextBuffer reply) {
    try {
        send(std::move(reply));
    } catch (const std::bad_alloc&) {
        reply = TextBuffer{};
        send(failure(id, {internalErrorCode, "out of memory"}));
    }
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
    try {
        toolsList_ = compactEncoder().write(toolsListResult());
    } catch (const JSONError&) {
        toolsList_ = std::nullopt;
    }
}

Task<void> MCPServer::run(int input, int output) {
    openClosedStandardStreams();
    LineSequence lines{input};
    LineSink replies{output};
    TaskGroup requests;
    const auto send = [&replies](TextBuffer reply) { replies.send(std::move(reply)); };
    while (const auto line = lines.next()) {
        try {
            auto message = readMessage(*line);
            if (auto turn = actor_.enterIfIdle()) { // nearly always: without a task
                auto step = begin(std::move(message));
                turn->end();
                if (auto rest = proceed(std::move(step), send)) {
                    requests.add(*std::move(rest));
                }
            } else {
                requests.add(serve(std::move(message), send));
            }
        } catch (const std::bad_alloc&) { // for the task itself
            send(failure(nullptr, {parseErrorCode, "parse error"}));
        }
        backlog_.letCatchUp();
    }
    co_await requests.finish();
    replies.finish();
}

Task<std::optional<TextBuffer>> MCPServer::handleLine(std::string_view line) {
    return collectAnswer(readMessage(line));
}

Task<std::optional<TextBuffer>> MCPServer::collectAnswer(std::optional<JSONValue> message) {
    std::optional<TextBuffer> reply;
    auto serving =
        serve(std::move(message), [&reply](TextBuffer text) { reply = std::move(text); });
    co_await std::move(serving);
    co_return std::move(reply);
}

template <typename Send>
Task<void> MCPServer::serve(std::optional<JSONValue> message, Send send) {
    auto entry = backlog_.enter();
    auto turn = co_await actor_.enter();
    auto step = begin(std::move(message));
    turn.end();
    entry.leave();
    if (auto rest = proceed(std::move(step), std::move(send))) {
        co_await *std::move(rest);
    }
}

/// All that is done with a message in one turn. What comes of it is sent, or called, behind that.
MCPServer::Step MCPServer::begin(std::optional<JSONValue> message) const {
    if (!message) {
        return failure(nullptr, {parseErrorCode, "parse error"});
    }
    const JSONValue* const methodName = (*message)["method"];
    const auto method = methodName == nullptr ? std::nullopt : methodName->stringValue();
    if (!method) {
        return Nothing{};
    }
    auto requestId = message->take("id");
    const JSONValue& id = requestId ? *requestId : nothing;
    TextBuffer reply;
    try {
        auto params = message->take("params").value_or(JSONValue::object());
        if (*method == "tools/call") {
            const MCPTool& tool = calledTool(params);
            auto arguments = params.take("arguments").value_or(JSONValue::object());
            return Call{std::move(requestId), &tool.handler, std::move(arguments)};
        }
        reply = dispatch(id, *method, params);
    } catch (const RPCError& error) {
        reply = failure(id, error);
    } catch (const JSONError&) {
        reply.clear(); // it cannot be written: an empty line
    } catch (...) {
        reply = failure(id, {internalErrorCode, currentDescription()});
    }
    if (!requestId) {
        return Nothing{};
    }
    return reply;
}

/// Sends a reply; for a call gives the task that performs it and sends its reply.
template <typename Send>
std::optional<Task<void>> MCPServer::proceed(Step step, Send send) {
    if (auto* const reply = std::get_if<TextBuffer>(&step)) {
        sendOrSayWhyNot(send, nullptr, std::move(*reply));
    } else if (auto* const call = std::get_if<Call>(&step)) {
        return perform(std::move(*call), backlog_.enter(), std::move(send));
    }
    return std::nullopt;
}

template <typename Send>
Task<void> MCPServer::perform(Call call, Backlog::Entry entry, Send send) {
    // A handler may take long to reach its first wait: not on the thread that reads.
    co_await DispatchQueue::global().hop();
    entry.leave();
    MCPToolResult result;
    try {
        auto calling = (*call.handler)(std::move(call.arguments));
        auto given = co_await std::move(calling);
        result = std::move(given);
    } catch (...) { // the call failed, the protocol did not
        result = MCPToolResult::error(currentDescription());
    }
    if (!call.id) {
        co_return;
    }
    auto turn = co_await actor_.enter();
    TextBuffer reply;
    try {
        reply = callSuccess(*call.id, std::move(result));
    } catch (...) {
        reply = failure(*call.id, {internalErrorCode, currentDescription()});
    }
    turn.end(); // sending may have to wait a moment
    sendOrSayWhyNot(send, *call.id, std::move(reply));
}

/// Answers all methods but the one that calls a tool. Throws RPCError, and JSONError where the
/// answer cannot be written.
TextBuffer MCPServer::dispatch(const JSONValue& id, std::string_view method,
                               const JSONValue& params) const {
    if (method == "initialize") {
        return success(id, initializeResult(params));
    }
    if (method == "ping") {
        return writtenSuccess(id, "{}");
    }
    if (method == "tools/list") {
        if (!toolsList_) {
            throw JSONError{"the list of tools has no JSON form"};
        }
        return writtenSuccess(id, *toolsList_);
    }
    if (method.starts_with("notifications/")) {
        return writtenSuccess(id, "null");
    }
    throw RPCError{methodNotFoundCode, "method not found: " + std::string{method}};
}

/// Throws RPCError.
const MCPTool& MCPServer::calledTool(const JSONValue& params) const {
    const JSONValue* toolName = params["name"];
    if (toolName == nullptr || !toolName->stringValue()) {
        throw RPCError{invalidParamsCode, "missing tool name"};
    }
    const auto tool = tools_.find(*toolName->stringValue());
    if (tool == tools_.end()) {
        throw RPCError{invalidParamsCode, "unknown tool: " + std::string{*toolName->stringValue()}};
    }
    return tool->second;
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
