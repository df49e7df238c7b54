#include "bench/json/Contender.hpp"

#include "MCPStdio/json/JSONWriter.hpp"

namespace velmiro::bench {
namespace {

using MCPStdio::JSONValue;

struct MCPStdioLibrary {
    static constexpr const char* name = "MCPStdio";

    static JSONValue read(std::string_view text) { return JSONValue::parse(text); }
    static JSONValue value(const JSONValue& tree) { return tree; }
    static std::string write(const JSONValue& tree) {
        return MCPStdio::compactEncoder().write(tree);
    }
    static std::string_view view(const std::string& text) { return text; }
};

} // namespace

std::unique_ptr<Contender> mcpStdioContender() {
    return std::make_unique<ContenderWith<MCPStdioLibrary>>();
}

} // namespace velmiro::bench
