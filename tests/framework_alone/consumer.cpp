// A server with one tool that uses nothing but the framework.

// A user's macros may have any name without the framework's prefix.
#define ACQUIRE "not the framework's"
#define CAPABILITY "not the framework's"
#define GUARDED_BY "not the framework's"
#define RELEASE "not the framework's"
#define REQUIRES "not the framework's"

#include <MCPStdio/MCPStdio.hpp>

#include <tuple>

namespace {

using namespace MCPStdio;

struct Sum {
    double sum = 0;

    static constexpr auto jsonFields() { return std::tuple{field("sum", &Sum::sum)}; }
};

Task<MCPToolResult> add(JSONValue arguments) {
    const JSONValue* given = arguments["numbers"];
    const auto numbers = given == nullptr ? std::nullopt : given->arrayValue();
    if (!numbers) {
        throw MCPToolError{"‘numbers’ is required"};
    }
    Sum answer;
    for (const JSONValue& number : *numbers) {
        answer.sum += number.doubleValue().value_or(0);
    }
    co_return MCPToolResult::json(JSONValue::encoding(answer));
}

} // namespace

int main() {
    const MCPTool tool{"add", "Add numbers.", JSONValue::object({{"type", "object"}}), true, add};
    MCPServer server{"consumer", "1.0", std::nullopt, {tool}};
    syncWait(server.run());
}
