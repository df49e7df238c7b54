#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "velmiro_mcp/base/Instant.hpp"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How tools say what arguments they take, and how they read them.
///
/// Each accessor takes the argument's name and the `arguments` of the call; where those are no
/// object, every argument is absent. Null and a wrong JSON type count as absent, unless said
/// otherwise. A failure throws MCPToolError with a message that names the argument.
namespace velmiro {

using MCPStdio::JSONValue;

/// The text, trimmed. Fails when it is absent or blank: "‘title’ is required".
std::string requiredString(std::string_view name, const JSONValue& arguments);

/// The text, trimmed; nothing when it is absent or blank.
std::optional<std::string> optionalString(std::string_view name, const JSONValue& arguments);

/// The whole numbers an argument may be, and what stands in for it when it is absent or null.
struct IntegerRule {
    std::int64_t fallback;
    std::int64_t lowest;
    std::int64_t highest;
};

/// The whole number: a number rounded to the nearest one, or a string of decimal digits. Anything
/// else, or out of range, fails: "‘days’ must be a whole number from 1 to 62".
std::int64_t integer(std::string_view name, const JSONValue& arguments, IntegerRule rule);

/// The date (see `parseDate`); nothing when it is absent or blank. Fails when it is some other
/// text.
std::optional<Instant> optionalDate(std::string_view name, const JSONValue& arguments);

/// The same, but fails when it is absent: "‘start’ is required".
Instant requiredDate(std::string_view name, const JSONValue& arguments);

/// The texts of an array, or the pieces of one text between commas; without blanks and tabs at
/// their ends, the empty ones left out.
std::vector<std::string> stringList(std::string_view name, const JSONValue& arguments);

/// Whether the argument is the JSON value true.
bool flag(std::string_view name, const JSONValue& arguments) noexcept;

/// The descriptions of single properties, for a schema.
JSONValue textProperty();
JSONValue textProperty(std::string_view description);
JSONValue integerProperty(std::int64_t lowest, std::int64_t highest);
JSONValue flagProperty();
JSONValue dateProperty();

/// The input schema of a tool. `properties` is an object of property descriptions.
JSONValue schema(JSONValue properties, std::initializer_list<std::string_view> required);

} // namespace velmiro
