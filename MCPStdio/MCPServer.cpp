#include "MCPStdio/MCPServer.hpp"

#include "MCPStdio/Replies.hpp"
#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/TaskGroup.hpp"
#include "MCPStdio/json/JSONReader.hpp"
#include "MCPStdio/json/JSONWriter.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "MCPStdio/transport/LineSequence.hpp"
#include "MCPStdio/transport/LineSink.hpp"
#include "MCPStdio/transport/StandardStreams.hpp"
#include "MCPStdio/transport/Standby.hpp"

#include <algorithm>
#include <exception>
#include <new>

namespace MCPStdio {
namespace {

using RPCError = MCPServer::RPCError;

const JSONValue noID; // null, the id of a reply to a request without one

/// Reads a line as a message; nullopt if it is not a JSON object, or does not fit into memory.
std::optional<JSONValue> readMessage(std::string_view line, JSONReader::Encoding encoding) {
    try {
        auto message = JSONReader{line, encoding}.read();
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

/// Sends a reply, or if there is not enough memory to send it, the one that `report` returns.
template <typename Send, typename Report>
void sendOrReportShortage(const Send& send, TextBuffer reply, const Report& report) {
    try {
        send(std::move(reply));
    } catch (const std::bad_alloc&) {
        reply = TextBuffer{};
        send(report());
    }
}

/// Returns the description of the exception being handled. Throws std::bad_alloc if it is that, or
/// if the description does not fit into memory.
std::string currentDescription() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const MCPToolError& error) {
        return repairUTF8(error.message); // not what(): the message may contain a NUL
    } catch (const std::exception& error) {
        return repairUTF8(error.what());
    } catch (...) {
        return "unknown error";
    }
}

/// Returns the result of a call that threw the exception being handled; none if there was not
/// enough memory.
std::optional<MCPToolResult> failedResult() {
    try {
        return MCPToolResult::error(currentDescription());
    } catch (const std::bad_alloc&) {
        return std::nullopt;
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

// The road of a line: `run` reads it, `serve` waits for a turn of the actor, `answer` dispatches
// the message in that turn and sends the reply; a tool call leaves the actor with `perform`.

Task<void> MCPServer::run(int input, int output) {
    openClosedStandardStreams();
    LineSequence lines{input};
    LineSink sink{output};
    Standby standby{input};
    TaskGroup requests;
    const auto send = [&sink](TextBuffer reply) { sink.send(std::move(reply)); };
    while (const auto line = lines.next()) {
        try {
            auto message = readMessage(*line, JSONReader::Encoding::validUTF8);
            lines.releaseLine();
            if (auto turn = actor_.enterIfIdle()) { // nearly always, and it saves a task
                auto call = answer(*std::move(turn), std::move(message), send);
                if (call && !lines.hasMore() && standby.isReady()) {
                    const auto absence = standby.absence();
                    const auto sendBack = [&sink, absence](TextBuffer reply) {
                        absence.end(); // the next request may follow the reply immediately
                        sink.send(std::move(reply));
                    };
                    auto performed = begin(*std::move(call), CallThread::current, sendBack);
                    if (performed) {
                        co_await standby.runMeanwhile(absence, requests, *std::move(performed));
                    }
                } else if (call) {
                    if (auto performed = begin(*std::move(call), CallThread::worker, send)) {
                        requests.add(*std::move(performed));
                    }
                }
            } else {
                requests.add(serve(std::move(message), send));
            }
        } catch (const std::bad_alloc&) { // the task itself did not fit
            send(failure(noID, parseErrorCode, "parse error"));
        }
        backlog_.holdBack();
    }
    co_await requests.finish();
    sink.finish();
}

Task<std::optional<TextBuffer>> MCPServer::handleLine(std::string line) {
    std::optional<TextBuffer> reply;
    auto message = readMessage(line, JSONReader::Encoding::unknown);
    auto serving =
        serve(std::move(message), [&reply](TextBuffer text) { reply = std::move(text); });
    co_await std::move(serving);
    co_return std::move(reply);
}

/// Answers a message once the actor has a turn for it.
template <typename Send>
Task<void> MCPServer::serve(std::optional<JSONValue> message, Send send) {
    auto entry = backlog_.enter();
    auto turn = co_await actor_.enter();
    entry.release();
    if (auto call = answer(std::move(turn), std::move(message), send)) {
        if (auto performed = begin(*std::move(call), CallThread::worker, send)) {
            co_await *std::move(performed);
        }
    }
}

/// Dispatches a message in this turn and sends its reply. If it calls a tool, returns the call.
template <typename Send>
std::optional<MCPServer::Call> MCPServer::answer(Actor::Turn turn, std::optional<JSONValue> message,
                                                 const Send& send) {
    auto outcome = dispatch(std::move(message));
    turn.release(); // sending may have to wait for the reader
    if (auto* const reply = std::get_if<TextBuffer>(&outcome)) {
        sendOrReportShortage(send, std::move(*reply),
                             [] { return failure(noID, internalErrorCode, outOfMemory); });
    } else if (auto* const call = std::get_if<Call>(&outcome)) {
        return std::move(*call);
    }
    return std::nullopt;
}

/// Returns the task that makes a call; none if it did not fit into memory, which is reported.
template <typename Send>
std::optional<Task<void>> MCPServer::begin(Call call, CallThread thread, const Send& send) {
    std::optional<JSONValue> id;
    try {
        id = call.id; // whatever happens, the client learns it
        return perform(std::move(call), thread, send);
    } catch (const std::bad_alloc&) {
        if (id || call.id) {
            send(shortage(id ? *id : *call.id, outOfMemory));
        }
        return std::nullopt;
    }
}

MCPServer::Outcome MCPServer::dispatch(std::optional<JSONValue> message) const {
    if (!message) {
        return failure(noID, parseErrorCode, "parse error");
    }
    const JSONValue* const methodName = (*message)["method"];
    const auto method = methodName == nullptr ? std::nullopt : methodName->stringValue();
    if (!method) {
        return NoReply{};
    }
    auto requestId = message->take("id");
    const JSONValue& id = requestId ? *requestId : noID;
    TextBuffer text;
    try {
        auto params = message->take("params").value_or(JSONValue::object());
        if (*method == "tools/call") {
            const MCPTool& tool = calledTool(params);
            auto arguments = params.take("arguments").value_or(JSONValue::object());
            arguments.leaveTree(); // the call may take long
            return Call{std::move(requestId), &tool, std::move(arguments)};
        }
        text = reply(id, *method, params);
    } catch (const RPCError& error) {
        text = failure(id, error.code, error.message);
    } catch (const JSONError&) {
        text.clear(); // the reply has no JSON form: send an empty line
    } catch (const std::bad_alloc&) {
        text = failure(id, internalErrorCode, outOfMemory);
    } catch (const std::exception& error) {
        text = failure(id, internalErrorCode, error.what());
    }
    if (!requestId) {
        return NoReply{};
    }
    return text;
}

/// Calls a tool, then formats and sends its result.
template <typename Send>
Task<void> MCPServer::perform(Call call, CallThread thread, Send send) {
    if (thread == CallThread::worker) {
        // A handler may take long to reach its first suspension: keep it off the thread that reads.
        auto entry = backlog_.enter();
        co_await DispatchQueue::global().hop();
        entry.release();
    }
    std::optional<MCPToolResult> result;
    try {
        auto calling = call.tool->handler(std::move(call.arguments));
        auto returned = co_await std::move(calling);
        result = std::move(returned);
    } catch (...) { // the call failed, not the protocol
        result = failedResult();
    }
    if (!call.id) {
        co_return;
    }
    auto turn = co_await actor_.enter();
    TextBuffer text = result ? writtenResult(*call.id, *call.tool, *std::move(result))
                             : shortageDuring(*call.id, *call.tool);
    turn.release(); // sending may have to wait for the reader
    sendOrReportShortage(send, std::move(text),
                         [&] { return shortageDuring(*call.id, *call.tool); });
}

/// Answers every method except `tools/call`. Throws RPCError, and JSONError if the answer has no
/// JSON form.
TextBuffer MCPServer::reply(const JSONValue& id, std::string_view method,
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
