#include "velmiro_mcp/AppleTools/AppleTools.hpp"

#include "velmiro_mcp/AppleTools/Arguments.hpp"
#include "velmiro_mcp/AppleTools/Scripts.hpp"

#include <algorithm>

namespace velmiro {
namespace {

using MCPStdio::MCPTool;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;
using Addresses = std::vector<std::string>;

constexpr std::chrono::seconds timeout{60};
constexpr IntegerRule daysRule{3, 1, 31};
constexpr IntegerRule limitRule{20, 1, 100};

Task<MCPToolResult> listMessages(RunScript run, JSONValue arguments) {
    const std::int64_t days = integer("days", arguments, daysRule);
    const std::int64_t limit = integer("limit", arguments, limitRule);
    const bool unreadOnly = flag("unread_only", arguments);

    auto running =
        run(std::string{scripts::mailList},
            {std::to_string(days), std::to_string(limit), unreadOnly ? "true" : "false"}, timeout);
    const auto messages = co_await std::move(running);
    co_return MCPToolResult{messages.jsonString(), false};
}

/// Accepts any whole number: only Mail knows which identifiers exist.
std::int64_t requiredIdentifier(const JSONValue& arguments) {
    const JSONValue* id = arguments["id"];
    const auto number = id == nullptr ? std::nullopt : id->intValue();
    if (!number) {
        throw MCPToolError{"‘id’ is required"};
    }
    return *number;
}

Task<MCPToolResult> readMessage(RunScript run, JSONValue arguments) {
    const std::int64_t id = requiredIdentifier(arguments);

    auto running = run(std::string{scripts::mailRead}, {std::to_string(id)}, timeout);
    const auto message = co_await std::move(running);
    co_return MCPToolResult{message.jsonString(), false};
}

/// Checks only that each address has an at sign: the rest is Mail's business.
Addresses requiredAddresses(const JSONValue& arguments) {
    auto addresses = stringList("to", arguments);
    if (addresses.empty()) {
        throw MCPToolError{"‘to’ needs at least one address"};
    }
    const auto isAddress = [](const std::string& text) {
        return text.find('@') != std::string::npos;
    };
    if (!std::ranges::all_of(addresses, isAddress)) {
        throw MCPToolError{"‘to’ must be email addresses"};
    }
    return addresses;
}

std::string joined(const Addresses& addresses) {
    std::string text;
    for (const std::string& address : addresses) {
        text += text.empty() ? address : ", " + address;
    }
    return text;
}

std::string jsonText(const Addresses& addresses) {
    auto array = JSONValue::array();
    for (const std::string& address : addresses) {
        array.append(address);
    }
    return array.jsonString();
}

Task<MCPToolResult> createDraft(RunScript run, Ask ask, JSONValue arguments) {
    const auto to = requiredAddresses(arguments);
    const auto cc = stringList("cc", arguments);
    const auto subject = requiredString("subject", arguments);
    const auto body = requiredString("body", arguments);

    const std::string summary = subject + " → " + joined(to);
    auto question = ask("mail_create_draft", summary);
    const bool allowed = co_await std::move(question);
    if (!allowed) {
        co_return denial(summary);
    }

    auto running = run(std::string{scripts::mailCreateDraft},
                       {jsonText(to), jsonText(cc), subject, body}, timeout);
    const auto saved = co_await std::move(running);
    co_return MCPToolResult{saved.jsonString(), false};
}

JSONValue listSchema() {
    auto properties = JSONValue::object({
        {"days", integerProperty(daysRule.lowest, daysRule.highest)},
        {"limit", integerProperty(limitRule.lowest, limitRule.highest)},
        {"unread_only", flagProperty()},
    });
    return schema(std::move(properties), {});
}

JSONValue readSchema() {
    auto id = JSONValue::object({{"type", "integer"}});
    return schema(JSONValue::object({{"id", std::move(id)}}), {"id"});
}

JSONValue draftSchema() {
    const auto addresses = JSONValue::object({{"type", "array"}, {"items", textProperty()}});
    auto properties = JSONValue::object({
        {"to", addresses},
        {"cc", addresses},
        {"subject", textProperty()},
        {"body", textProperty()},
    });
    return schema(std::move(properties), {"to", "subject", "body"});
}

} // namespace

std::vector<MCPTool> mailTools(const RunScript& run, const Ask& ask) {
    return {
        {"mail_list", "List recent messages in the Mail inbox (newest first).", listSchema(), true,
         [run](JSONValue arguments) { return listMessages(run, std::move(arguments)); }},
        {"mail_read", "Read one inbox message (id from mail_list).", readSchema(), true,
         [run](JSONValue arguments) { return readMessage(run, std::move(arguments)); }},
        {"mail_create_draft",
         "Save a message as a draft in Mail. It is never sent. The user is asked to allow it "
         "first.",
         draftSchema(), false,
         [run, ask](JSONValue arguments) { return createDraft(run, ask, std::move(arguments)); }},
    };
}

} // namespace velmiro
