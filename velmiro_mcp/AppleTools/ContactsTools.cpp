#include "velmiro_mcp/AppleTools/AppleTools.hpp"

#include "MCPStdio/concurrency/Continuation.hpp"
#include "velmiro_mcp/AppleTools/Arguments.hpp"

#include <algorithm>

namespace velmiro {
namespace {

using MCPStdio::MCPTool;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;

constexpr IntegerRule limitRule{10, 1, 50};

/// Puts the family name first on purpose: that is how an address book is sorted.
std::string nameOf(const Contact& contact) {
    const bool both = !contact.familyName.empty() && !contact.givenName.empty();
    return contact.familyName + (both ? " " : "") + contact.givenName;
}

JSONValue textsOf(const std::vector<std::string>& texts) {
    auto array = JSONValue::array();
    for (const std::string& text : texts) {
        array.append(text);
    }
    return array;
}

JSONValue recordOf(const Contact& contact) {
    return JSONValue::object({
        {"id", contact.identifier},
        {"name", nameOf(contact)},
        {"organization", contact.organization},
        {"emails", textsOf(contact.emails)},
        {"phones", textsOf(contact.phones)},
    });
}

/// Returns the records of the first `limit` contacts found. Blocks the calling thread.
JSONValue find(const ContactsPlatform& platform, const std::string& query, std::size_t limit) {
    if (platform.authorizationStatus() != ContactsAuthorizationStatus::authorized) {
        throw MCPToolError{"Velmiro has no access to Contacts. Ask the user to turn it on in "
                           "Velmiro › Settings › Connectors."};
    }
    const auto found = platform.openStore()->contactsMatchingName(query);
    auto records = JSONValue::array();
    for (std::size_t index = 0; index < std::min(found.size(), limit); ++index) {
        records.append(recordOf(found[index]));
    }
    return records;
}

Task<MCPToolResult> searchContacts(ContactsPlatform platform, JSONValue arguments) {
    const std::string query = requiredString("query", arguments);
    const auto limit = static_cast<std::size_t>(integer("limit", arguments, limitRule));
    auto finding = MCPStdio::blocking([&] { return find(platform, query, limit); });
    auto records = co_await finding;
    const auto payload = JSONValue::object({{"contacts", std::move(records)}});
    co_return MCPToolResult::json(payload);
}

JSONValue searchSchema() {
    auto properties = JSONValue::object({
        {"query", textProperty()},
        {"limit", integerProperty(limitRule.lowest, limitRule.highest)},
    });
    return schema(std::move(properties), {"query"});
}

} // namespace

std::vector<MCPTool> contactsTools(const ContactsPlatform& platform) {
    return {
        {"contacts_search", "Find people in the user's contacts by name.", searchSchema(), true,
         [platform](JSONValue arguments) {
             return searchContacts(platform, std::move(arguments));
         }},
    };
}

} // namespace velmiro
