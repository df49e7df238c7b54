#pragma once

#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONCoding.hpp"
#include "MCPStdio/json/JSONValue.hpp"

#include <exception>
#include <functional>
#include <string>

namespace MCPStdio {

/// The result of a tool call: one text, and whether it reports a failure.
struct MCPToolResult {
    std::string text; ///< UTF-8; ill-formed bytes are sent as U+FFFD
    bool isError = false;

    /// Returns a value as pretty-printed JSON, members sorted, dates as ISO 8601 in UTC; "{}" if it
    /// cannot be written. Accepts a JSONValue or any type with a JSON form (see JSONCoding.hpp).
    static MCPToolResult json(const JSONValue& value);
    template <HasJSONFields Value>
    static MCPToolResult json(const Value& value);

    /// Returns a failure with this message.
    static MCPToolResult error(std::string message) { return {std::move(message), true}; }

    friend bool operator==(const MCPToolResult&, const MCPToolResult&) = default;
};

/// Thrown by a handler to fail with a message, which is all that the agent and its user receive.
class MCPToolError : public std::exception {
public:
    explicit MCPToolError(std::string text) : message{std::move(text)} {}

    [[nodiscard]] const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};

/// Performs a call with its arguments, normally an object. Called on any thread; calls may overlap.
/// Fails by returning an error result or by throwing: the agent receives the message of an
/// MCPToolError, and `what()` of any other std::exception.
using ToolHandler = std::function<Task<MCPToolResult>(JSONValue arguments)>;

/// A tool: its description for clients, and its handler.
struct MCPTool {
    std::string name;
    std::string description; ///< one sentence, for the model
    JSONValue inputSchema;   ///< JSON Schema of the arguments, sent to clients unchanged
    bool readOnly = false;   ///< announced as readOnlyHint
    ToolHandler handler;
};

template <HasJSONFields Value>
MCPToolResult MCPToolResult::json(const Value& value) {
    try {
        return json(JSONValue::encoding(value));
    } catch (const JSONError&) {
        return {"{}", false};
    }
}

} // namespace MCPStdio
