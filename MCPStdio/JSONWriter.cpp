#include "MCPStdio/JSONWriter.hpp"

#include "MCPStdio/ByteScan.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <utility>

namespace MCPStdio {
namespace {

void appendNumber(std::string& text, double number) {
    if (!std::isfinite(number)) {
        throw JSONError{"a number that is not finite has no JSON form"};
    }
    constexpr double wholeBelow = 1e15;
    std::array<char, 32> digits{};
    char* const end = digits.data() + digits.size();
    const bool whole = std::abs(number) < wholeBelow && std::round(number) == number;
    char* const written =
        whole ? std::to_chars(digits.data(), end, static_cast<std::int64_t>(number)).ptr
              : std::to_chars(digits.data(), end, number).ptr;
    text.append(digits.data(), written);
}

void appendEscape(std::string& text, unsigned char byte) {
    switch (byte) {
    case '"':
        text.append("\\\"");
        return;
    case '\\':
        text.append("\\\\");
        return;
    case '\b':
        text.append("\\b");
        return;
    case '\f':
        text.append("\\f");
        return;
    case '\n':
        text.append("\\n");
        return;
    case '\r':
        text.append("\\r");
        return;
    case '\t':
        text.append("\\t");
        return;
    default:
        constexpr std::string_view hex = "0123456789abcdef";
        text.append("\\u00");
        text.push_back(hex[byte >> 4U]);
        text.push_back(hex[byte & 0x0FU]);
    }
}

void appendCompact(std::string& text, const JSONValue& value);
void appendPretty(std::string& text, const JSONValue& value, std::size_t level);

/// Null, bool, number or string: the same in both forms.
void appendScalar(std::string& text, const JSONValue& value) {
    if (const auto string = value.stringValue()) {
        appendJSONString(text, *string);
    } else if (const auto number = value.doubleValue()) {
        appendNumber(text, *number);
    } else if (const auto truth = value.boolValue()) {
        text.append(*truth ? "true" : "false");
    } else {
        text.append("null");
    }
}

void appendCompact(std::string& text, const JSONValue& value) {
    if (const auto members = value.objectValue()) {
        text.push_back('{');
        bool first = true;
        for (const JSONMember& member : *members) {
            if (!std::exchange(first, false)) {
                text.push_back(',');
            }
            appendJSONString(text, member.key());
            text.push_back(':');
            appendCompact(text, member.value);
        }
        text.push_back('}');
    } else if (const auto elements = value.arrayValue()) {
        text.push_back('[');
        bool first = true;
        for (const JSONValue& element : *elements) {
            if (!std::exchange(first, false)) {
                text.push_back(',');
            }
            appendCompact(text, element);
        }
        text.push_back(']');
    } else {
        appendScalar(text, value);
    }
}

void beginPrettyLine(std::string& text, std::size_t level) {
    text.push_back('\n');
    text.append(2 * level, ' ');
}

/// What a container holds, one item a line between its brackets; an empty one is just the brackets.
template <typename Items, typename AppendItem>
void appendPrettyItems(std::string& text, const Items& items, std::string_view brackets,
                       std::size_t level, AppendItem appendItem) {
    text.push_back(brackets[0]);
    bool first = true;
    for (const auto& item : items) {
        if (!std::exchange(first, false)) {
            text.push_back(',');
        }
        beginPrettyLine(text, level + 1);
        appendItem(item);
    }
    if (!items.empty()) {
        beginPrettyLine(text, level);
    }
    text.push_back(brackets[1]);
}

void appendPretty(std::string& text, const JSONValue& value, std::size_t level) {
    if (const auto members = value.objectValue()) {
        appendPrettyItems(text, *members, "{}", level, [&](const JSONMember& member) {
            appendJSONString(text, member.key());
            text.append(" : ");
            appendPretty(text, member.value, level + 1);
        });
    } else if (const auto elements = value.arrayValue()) {
        appendPrettyItems(text, *elements, "[]", level, [&](const JSONValue& element) {
            appendPretty(text, element, level + 1);
        });
    } else {
        appendScalar(text, value);
    }
}

} // namespace

std::string JSONWriter::write(const JSONValue& value) const {
    std::string text;
    append(text, value);
    return text;
}

void JSONWriter::append(std::string& text, const JSONValue& value) const {
    switch (form_) {
    case Form::compact:
        appendCompact(text, value);
        break;
    case Form::pretty:
        appendPretty(text, value, 0);
        break;
    }
}

const JSONWriter& compactEncoder() noexcept {
    static constexpr JSONWriter encoder{JSONWriter::Form::compact};
    return encoder;
}

void appendJSONString(std::string& text, std::string_view content) {
    // A long text gets its room at once, and some for what follows, so that it is copied only once.
    constexpr std::size_t longText = 4096;
    if (content.size() >= longText) {
        text.reserve(text.size() + content.size() + longText);
    }
    text.push_back('"');
    std::size_t from = 0;
    while (true) {
        const std::size_t stop = findByte(content, from, [](unsigned char byte) {
            return byte < 0x20 || byte == '"' || byte == '\\';
        });
        text.append(content.substr(from, stop - from));
        if (stop == content.size()) {
            break;
        }
        appendEscape(text, static_cast<unsigned char>(content[stop]));
        from = stop + 1;
    }
    text.push_back('"');
}

} // namespace MCPStdio
