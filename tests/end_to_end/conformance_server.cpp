// The tools that the protocol's conformance suite looks for, as far as a server of texts can have
// them, and one whose arguments are of every type.

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

enum class Unit { metre, foot };

constexpr auto jsonNames(Unit) {
    return std::array{JSONName{"m", Unit::metre}, JSONName{"ft", Unit::foot}};
}

struct Part {
    std::string name;
    std::optional<std::uint8_t> level;

    static constexpr auto jsonFields() {
        return std::tuple{field("name", &Part::name), field("level", &Part::level)};
    }
};

struct Everything {
    bool flag = false;
    double number = 0;
    std::int16_t small = 0;
    std::uint64_t large = 0;
    std::string text;
    Unit unit = Unit::metre;
    std::chrono::sys_seconds time;
    std::vector<Part> parts;
    std::map<std::string, bool> flags;
    std::vector<std::optional<double>> gaps;
    std::optional<std::vector<std::string>> more;
    JSONValue any;

    static constexpr auto jsonFields() {
        return std::tuple{field("flag", &Everything::flag),   field("number", &Everything::number),
                          field("small", &Everything::small), field("large", &Everything::large),
                          field("text", &Everything::text),   field("unit", &Everything::unit),
                          field("time", &Everything::time),   field("parts", &Everything::parts),
                          field("flags", &Everything::flags), field("gaps", &Everything::gaps),
                          field("more", &Everything::more),   field("any", &Everything::any)};
    }
};

Task<Everything> repeat(Everything given) {
    co_return given;
}

} // namespace

int main() {
    MCPServer server{"conformance",
                     "1.0",
                     std::nullopt,
                     {typedTool("test_simple_text", "Return a text.", true, simpleText),
                      typedTool("test_error_handling", "Fail.", true, failing),
                      MCPTool{"json_schema_2020_12_tool", "Greet somebody at an address.",
                              JSONValue::parse(addressed), true, greet},
                      typedTool("repeat", "Return the arguments.", true, repeat)}};
    syncWait(server.run());
}
