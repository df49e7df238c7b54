#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/TextBuffer.hpp"

#include <cstdint>
#include <string_view>

/// The replies of JSON-RPC, as lines without their end. They are written around their content
/// rather than built as values, with members in the order of their keys, as the writer would write
/// them.
namespace MCPStdio {

inline constexpr std::int64_t parseErrorCode = -32700;
inline constexpr std::int64_t methodNotFoundCode = -32601;
inline constexpr std::int64_t invalidParamsCode = -32602;
inline constexpr std::int64_t internalErrorCode = -32603;

inline constexpr std::string_view outOfMemory = "out of memory";

/// Returns the reply with a result. Throws JSONError if it has no JSON form.
TextBuffer success(const JSONValue& id, const JSONValue& result);

/// Returns the reply with a result that is JSON already.
TextBuffer writtenSuccess(const JSONValue& id, std::string_view result);

/// Returns the reply to a call that ended with this result; an error if it cannot be written.
TextBuffer writtenResult(const JSONValue& id, const MCPTool& tool, MCPToolResult result);

// Those below wait if there is no memory for these few bytes, because the client waits for a reply.

/// Returns the reply with an error of the protocol.
TextBuffer failure(const JSONValue& id, std::int64_t code, std::string_view message);

/// Returns the reply to a call for which there was not enough memory.
TextBuffer shortage(const JSONValue& id, std::string_view message);

/// Does so for a call that was begun, and whose work may even be done.
TextBuffer shortageDuring(const JSONValue& id, const MCPTool& tool);

} // namespace MCPStdio
