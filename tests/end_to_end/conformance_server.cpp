// The tools that the protocol's conformance suite looks for, as far as a server of texts can have them.

#include <MCPStdio/MCPStdio.hpp>

#include <string_view>

using namespace MCPStdio;

namespace {

Task<MCPToolResult> simpleText(NoArguments) {
    co_return MCPToolResult{"This is a simple text response for testing.", false};
}

Task<MCPToolResult> failing(NoArguments) {
    throw MCPToolError{"This tool intentionally returns an error for testing"};
    co_return MCPToolResult{};
}

Task<MCPToolResult> greet(JSONValue /*arguments*/) {
    co_return MCPToolResult{"Hello.", false};
}

/// A schema written by hand, with words that a server must pass on although it does not use them.
constexpr std::string_view addressed = R"({
    "$schema": "https://json-schema.org/draft/2020-12/schema",
    "type": "object",
    "$defs": {
        "address": {
            "type": "object",
            "properties": {"street": {"type": "string"}, "city": {"type": "string"}}
        }
    },
    "properties": {"name": {"type": "string"}, "address": {"$ref": "#/$defs/address"}},
    "additionalProperties": false
})";

} // namespace

int main() {
    MCPServer server{"conformance",
                     "1.0",
                     std::nullopt,
                     {typedTool("test_simple_text", "Return a text.", true, simpleText),
                      typedTool("test_error_handling", "Fail.", true, failing),
                      MCPTool{"json_schema_2020_12_tool", "Greet somebody at an address.",
                              JSONValue::parse(addressed), true, greet}}};
    syncWait(server.run());
}
