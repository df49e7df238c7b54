// The smallest useful server: one tool, which returns its argument.

#include <MCPStdio/MCPStdio.hpp>

using namespace MCPStdio;

namespace {

Task<MCPToolResult> echo(JSONValue arguments) {
    auto text = arguments.take("text").value_or(nullptr).stringValue();
    if (!text) {
        throw MCPToolError{"‘text’ is required"};
    }
    co_return MCPToolResult{*std::move(text), false};
}

const MCPTool echoTool{
    "echo", "Give back a text.",
    JSONValue::object({
        {"type", "object"},
        {"properties", JSONValue::object({{"text", JSONValue::object({{"type", "string"}})}})},
        {"required", JSONValue::array("text")},
    }),
    true, echo};

} // namespace

int main() {
    MCPServer server{"hello", "1.0", std::nullopt, {echoTool}};
    syncWait(server.run());
}
