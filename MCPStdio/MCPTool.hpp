#pragma once

#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONCoding.hpp"
#include "MCPStdio/json/JSONValue.hpp"

#include <exception>
#include <functional>
#include <string>

namespace MCPStdio {

/// What a tool call gives back: one text, and whether it reports a failure.
struct MCPToolResult {
    std::string text;
    bool isError = false;

    /// The pretty text of a value, members sorted, dates as ISO 8601 in UTC; "{}" when it cannot be
    /// written. Takes a JSONValue or any type that has a JSON form (see JSONCoding.hpp).
    static MCPToolResult json(const JSONValue& value);
    template <HasJSONFields Value>
    static MCPToolResult json(const Value& value);

    /// A failure, told in these words.
    static MCPToolResult error(std::string message) { return {std::move(message), true}; }

    friend bool operator==(const MCPToolResult&, const MCPToolResult&) = default;
};

/// How a handler fails with a message for the agent and its user. The message is all there is.
class MCPToolError : public std::exception {
public:
    explicit MCPToolError(std::string text) : message{std::move(text)} {}

    [[nodiscard]] const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};

/// Performs a call with its arguments, normally an object. It may be called on any thread and many
/// times at once. It fails by an error result, or by throwing: an MCPToolError reaches the agent
/// with its message, any other exception with its description.
using ToolHandler = std::function<Task<MCPToolResult>(JSONValue arguments)>;

/// A tool: what it is, and how it is called.
struct MCPTool {
    std::string name;
    std::string description; ///< one sentence, for the model
    JSONValue inputSchema;   ///< JSON Schema of the arguments, handed to clients unchanged
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
