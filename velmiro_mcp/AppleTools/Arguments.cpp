#include "velmiro_mcp/AppleTools/Arguments.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/base/Text.hpp"

namespace velmiro {
namespace {

using MCPStdio::MCPToolError;

std::string quoted(std::string_view name) {
    return "‘" + std::string{name} + "’";
}

/// Returns the text of the argument, trimmed; empty if it is not a text.
std::string_view trimmedText(std::string_view name, const JSONValue& arguments) {
    const JSONValue* argument = arguments[name];
    const auto text = argument == nullptr ? std::nullopt : argument->stringValue();
    return trim(text.value_or(std::string_view{}));
}

[[noreturn]] void failAsMissing(std::string_view name) {
    throw MCPToolError{quoted(name) + " is required"};
}

} // namespace

std::string requiredString(std::string_view name, const JSONValue& arguments) {
    const auto text = trimmedText(name, arguments);
    if (text.empty()) {
        failAsMissing(name);
    }
    return std::string{text};
}

std::optional<std::string> optionalString(std::string_view name, const JSONValue& arguments) {
    const auto text = trimmedText(name, arguments);
    return text.empty() ? std::nullopt : std::optional<std::string>{text};
}

std::int64_t integer(std::string_view name, const JSONValue& arguments, IntegerRule rule) {
    const JSONValue* argument = arguments[name];
    if (argument == nullptr || argument->isNull()) {
        return rule.fallback;
    }
    const auto value = argument->intValue();
    if (!value || *value < rule.lowest || *value > rule.highest) {
        throw MCPToolError{quoted(name) + " must be a whole number from " +
                           std::to_string(rule.lowest) + " to " + std::to_string(rule.highest)};
    }
    return *value;
}

std::optional<Instant> optionalDate(std::string_view name, const JSONValue& arguments) {
    const auto text = trimmedText(name, arguments);
    if (text.empty()) {
        return std::nullopt;
    }
    const auto date = parseDate(text);
    if (!date) {
        throw MCPToolError{
            quoted(name) +
            " is not a date: use 2026-10-14, 2026-10-14T15:00 or ISO 8601 with an offset"};
    }
    return date;
}

Instant requiredDate(std::string_view name, const JSONValue& arguments) {
    const auto date = optionalDate(name, arguments);
    if (!date) {
        failAsMissing(name);
    }
    return *date;
}

std::vector<std::string> stringList(std::string_view name, const JSONValue& arguments) {
    std::vector<std::string> list;
    const auto add = [&](std::string_view item) {
        item = trimSpacesAndTabs(item);
        if (!item.empty()) {
            list.emplace_back(item);
        }
    };
    const JSONValue* argument = arguments[name];
    const auto elements = argument == nullptr ? std::nullopt : argument->arrayValue();
    if (elements) {
        for (const JSONValue& element : *elements) {
            add(element.stringValue().value_or(std::string_view{}));
        }
    } else {
        for (const std::string_view piece : splitAtCommas(trimmedText(name, arguments))) {
            add(piece);
        }
    }
    return list;
}

bool flag(std::string_view name, const JSONValue& arguments) noexcept {
    const JSONValue* argument = arguments[name];
    return argument != nullptr && argument->boolValue() == true;
}

JSONValue textProperty() {
    return JSONValue::object({{"type", "string"}});
}

JSONValue textProperty(std::string_view description) {
    return JSONValue::object({{"type", "string"}, {"description", description}});
}

JSONValue integerProperty(std::int64_t lowest, std::int64_t highest) {
    return JSONValue::object({{"type", "integer"}, {"minimum", lowest}, {"maximum", highest}});
}

JSONValue flagProperty() {
    return JSONValue::object({{"type", "boolean"}});
}

JSONValue dateProperty() {
    return textProperty("Date or date-time: 2026-10-14, 2026-10-14T15:00 (this Mac's time zone) or "
                        "ISO 8601 with an offset.");
}

JSONValue schema(JSONValue properties, std::initializer_list<std::string_view> required) {
    auto names = JSONValue::array();
    for (const std::string_view name : required) {
        names.append(name);
    }
    return JSONValue::object({
        {"type", "object"},
        {"properties", std::move(properties)},
        {"required", std::move(names)},
        {"additionalProperties", false},
    });
}

} // namespace velmiro
