#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "velmiro_mcp/base/Instant.hpp"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// How tools read their arguments, and how they describe them in a schema.
///
/// Each accessor takes the argument's name and the `arguments` of the call; if those are not an
/// object, every argument is absent. Null and a wrong JSON type count as absent, unless stated
/// otherwise. Failures are thrown as MCPToolError, with a message that names the argument.
namespace velmiro {

using MCPStdio::JSONValue;

/// Returns the text, trimmed. Throws if it is absent or blank: "‘title’ is required".
std::string requiredString(std::string_view name, const JSONValue& arguments);

/// Returns the text, trimmed; nullopt if it is absent or blank.
std::optional<std::string> optionalString(std::string_view name, const JSONValue& arguments);

/// The whole numbers that an argument may be, and its value if it is absent or null.
struct IntegerRule {
    std::int64_t fallback;
    std::int64_t lowest;
    std::int64_t highest;
};

/// Returns a whole number. A number is rounded to the nearest one; a string of decimal digits is
/// parsed. Throws on anything else or out of range: "‘days’ must be a whole number from 1 to 62".
std::int64_t integer(std::string_view name, const JSONValue& arguments, IntegerRule rule);

/// Returns the date (see `parseDate`); nullopt if it is absent or blank. Throws on any other text.
std::optional<Instant> optionalDate(std::string_view name, const JSONValue& arguments);

/// Does the same, but throws if the date is absent or blank: "‘start’ is required".
Instant requiredDate(std::string_view name, const JSONValue& arguments);

/// Returns the texts of an array, or the pieces of a single text between commas, without blanks and
/// tabs at their ends. Empty ones are left out.
std::vector<std::string> stringList(std::string_view name, const JSONValue& arguments);

/// Returns whether the argument is the JSON value true.
bool flag(std::string_view name, const JSONValue& arguments) noexcept;

/// These describe a single property in a schema.
JSONValue textProperty();
JSONValue textProperty(std::string_view description);
JSONValue integerProperty(std::int64_t lowest, std::int64_t highest);
JSONValue flagProperty();
JSONValue dateProperty();

/// Returns the input schema of a tool. `properties` is an object of property descriptions.
JSONValue schema(JSONValue properties, std::initializer_list<std::string_view> required);

} // namespace velmiro
