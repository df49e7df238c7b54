#include "velmiro_mcp/AppleTools/AppleTools.hpp"

#include "velmiro_mcp/AppleTools/Arguments.hpp"
#include "velmiro_mcp/AppleTools/Scripts.hpp"

namespace velmiro {
namespace {

using MCPStdio::MCPTool;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;

constexpr std::chrono::seconds timeout{60};
constexpr IntegerRule limitRule{10, 1, 30};

Task<MCPToolResult> searchNotes(RunScript run, JSONValue arguments) {
    auto query = requiredString("query", arguments);
    const std::int64_t limit = integer("limit", arguments, limitRule);

    auto running =
        run(std::string{scripts::notesSearch}, {std::move(query), std::to_string(limit)}, timeout);
    const auto found = co_await std::move(running);
    co_return MCPToolResult{found.jsonString(), false};
}

Task<MCPToolResult> createNote(RunScript run, Ask ask, JSONValue arguments) {
    const auto title = requiredString("title", arguments);
    const auto body = requiredString("body", arguments);

    auto question = ask("notes_create", title);
    const bool allowed = co_await std::move(question);
    if (!allowed) {
        co_return denial(title);
    }

    const auto folder = optionalString("folder", arguments).value_or("");
    auto running = run(std::string{scripts::notesCreate}, {title, body, folder}, timeout);
    const auto created = co_await std::move(running);
    co_return MCPToolResult{created.jsonString(), false};
}

JSONValue searchSchema() {
    auto properties = JSONValue::object({
        {"query", textProperty()},
        {"limit", integerProperty(limitRule.lowest, limitRule.highest)},
    });
    return schema(std::move(properties), {"query"});
}

JSONValue createSchema() {
    auto properties = JSONValue::object({
        {"title", textProperty()},
        {"body", textProperty()},
        {"folder", textProperty()},
    });
    return schema(std::move(properties), {"title", "body"});
}

} // namespace

std::vector<MCPTool> notesTools(const RunScript& run, const Ask& ask) {
    return {
        {"notes_search", "Find notes in Apple Notes whose title or text contains the query.",
         searchSchema(), true,
         [run](JSONValue arguments) { return searchNotes(run, std::move(arguments)); }},
        {"notes_create", "Create a note in Apple Notes. The user is asked to allow it first.",
         createSchema(), false,
         [run, ask](JSONValue arguments) { return createNote(run, ask, std::move(arguments)); }},
    };
}

} // namespace velmiro
