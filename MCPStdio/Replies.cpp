#include "MCPStdio/Replies.hpp"

#include "MCPStdio/concurrency/Patience.hpp"
#include "MCPStdio/json/JSONWriter.hpp"
#include "MCPStdio/text/UTF8.hpp"

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace MCPStdio {
namespace {

/// Enough for what surrounds a result: the frame, an id that is a number, and the end of the line.
constexpr std::size_t frameSize = 64;

/// Begins a reply whose result will take that many bytes, in one allocation if the id is short.
TextBuffer beginSuccess(const JSONValue& id, std::size_t resultSize = 0) {
    TextBuffer text;
    static_cast<void>(text.room(resultSize + frameSize));
    text.append("{\"id\":");
    compactEncoder().append(text, id);
    text.append(",\"jsonrpc\":\"2.0\",\"result\":");
    return text;
}

TextBuffer callSuccess(const JSONValue& id, MCPToolResult result) {
    TextBuffer text = beginSuccess(id);
    text.append("{\"content\":[{\"text\":");
    // Clients reject a line that is not UTF-8, and a handler may pass on what it was given.
    appendJSONString(text, repairUTF8(std::move(result.text)));
    text.append(",\"type\":\"text\"}],\"isError\":");
    text.append(result.isError ? "true}}" : "false}}");
    return text;
}

} // namespace

TextBuffer writtenSuccess(const JSONValue& id, std::string_view result) {
    TextBuffer text = beginSuccess(id, result.size());
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

TextBuffer failure(const JSONValue& id, std::int64_t code, std::string_view message) {
    return patiently([&] {
        TextBuffer text;
        text.append("{\"error\":{\"code\":");
        text.append(std::to_string(code));
        text.append(",\"message\":");
        appendJSONString(text, message);
        text.append("},\"id\":");
        compactEncoder().append(text, id);
        text.append(",\"jsonrpc\":\"2.0\"}");
        static_cast<void>(text.room(1)); // for the end of the line
        return text;
    });
}

TextBuffer shortage(const JSONValue& id, std::string_view message) {
    return patiently([&] {
        TextBuffer text = callSuccess(id, MCPToolResult::error(std::string{message}));
        static_cast<void>(text.room(1)); // for the end of the line
        return text;
    });
}

TextBuffer shortageDuring(const JSONValue& id, const MCPTool& tool) {
    return shortage(id, tool.readOnly
                            ? outOfMemory
                            : "out of memory. Whether anything was changed cannot be told: look "
                              "before trying again");
}

TextBuffer writtenResult(const JSONValue& id, const MCPTool& tool, MCPToolResult result) {
    try {
        return callSuccess(id, std::move(result));
    } catch (const std::bad_alloc&) {
        return shortageDuring(id, tool);
    } catch (const std::exception& error) {
        return failure(id, internalErrorCode, error.what());
    }
}

} // namespace MCPStdio
