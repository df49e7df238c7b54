// Lines from a host: each has one reply or none, which is JSON-RPC in one line.

#include "MCPStdio/MCPServer.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/json/JSONReader.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <string>

namespace {

using namespace velmiro::fuzz;
using MCPStdio::JSONValue;
using MCPStdio::MCPTool;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;

Task<MCPToolResult> echo(JSONValue arguments) {
    co_return MCPToolResult{arguments.jsonString()};
}

Task<MCPToolResult> fail(JSONValue arguments) {
    throw MCPStdio::MCPToolError{arguments.jsonString()};
    co_return MCPToolResult{};
}

MCPStdio::MCPServer& server() {
    static MCPStdio::MCPServer one{"fuzzed",
                                   "1.0",
                                   std::nullopt,
                                   {MCPTool{"echo", "Echoes.", JSONValue::object(), true, echo},
                                    MCPTool{"fail", "Fails.", JSONValue::object(), false, fail}}};
    return one;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto reply = MCPStdio::syncWait(server().handleLine(std::string{textOf(bytes, size)}));
    if (!reply) {
        return 0;
    }
    const std::string_view line = reply->view();
    require(line.find('\n') == std::string_view::npos, "a reply is one line");
    const auto value = JSONValue::parse(line);
    require(value["jsonrpc"] != nullptr && value["jsonrpc"]->stringValue() == "2.0",
            "a reply says its version");
    require((value["result"] != nullptr) != (value["error"] != nullptr),
            "a reply has a result or an error");
    require(value["id"] != nullptr, "a reply has an id");
    return 0;
}
