#include "MCPStdio/json/JSONWriter.hpp"

#include "MCPStdio/text/ByteScan.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace MCPStdio {
namespace {

void appendNumber(TextBuffer& text, double number) {
    if (!std::isfinite(number)) {
        throw JSONError{"a number that is not finite has no JSON form"};
    }
    constexpr double wholeBelow = 1e15;
    constexpr std::size_t longest = 32;
    char* const begin = text.room(longest);
    char* const last = begin + longest;
    const bool whole = std::abs(number) < wholeBelow && std::round(number) == number;
    const char* const end = whole
                                ? std::to_chars(begin, last, static_cast<std::int64_t>(number)).ptr
                                : std::to_chars(begin, last, number).ptr;
    text.added(static_cast<std::size_t>(end - begin));
}

constexpr std::size_t longestEscape = 6;

/// Writes the escape of a byte and returns the end of it.
char* writeEscape(char* to, unsigned char byte) noexcept {
    static constexpr auto letters = [] {
        std::array<char, 256> table{};
        table['"'] = '"';
        table['\\'] = '\\';
        table['\b'] = 'b';
        table['\f'] = 'f';
        table['\n'] = 'n';
        table['\r'] = 'r';
        table['\t'] = 't';
        return table;
    }();
    *to++ = '\\';
    if (letters[byte] != '\0') {
        *to++ = letters[byte];
        return to;
    }
    constexpr std::string_view hex = "0123456789abcdef";
    for (const char letter : {'u', '0', '0', hex[byte >> 4U], hex[byte & 0x0FU]}) {
        *to++ = letter;
    }
    return to;
}

/// Writes a text with its escapes and returns the end of it; up to a block behind it is
/// overwritten.
char* writeEscaped(char* to, std::string_view content) noexcept {
    for (std::size_t at = 0; (at = copyUpToStop(content, at, to)) < content.size(); ++at) {
        to = writeEscape(to, static_cast<unsigned char>(content[at]));
    }
    return to;
}

void appendCompact(TextBuffer& text, const JSONValue& value);
void appendPretty(TextBuffer& text, const JSONValue& value, std::size_t level);

/// Appends a null, bool, number or string: the same in both forms.
void appendScalar(TextBuffer& text, const JSONValue& value) {
    switch (value.kind()) {
    case JSONValue::Case::string:
        appendJSONString(text, *value.stringValue());
        break;
    case JSONValue::Case::number:
        appendNumber(text, *value.doubleValue());
        break;
    case JSONValue::Case::boolean:
        text.append(*value.boolValue() ? "true" : "false");
        break;
    default:
        text.append("null");
        break;
    }
}

/// Appends the items, separated by commas.
template <typename Items, typename AppendItem>
void appendItems(TextBuffer& text, const Items& items, AppendItem appendItem) {
    for (const auto& item : items) {
        if (&item != items.data()) {
            text.append(',');
        }
        appendItem(item);
    }
}

void appendCompact(TextBuffer& text, const JSONValue& value) {
    switch (value.kind()) {
    case JSONValue::Case::object:
        text.append('{');
        appendItems(text, *value.objectValue(), [&](const JSONMember& member) {
            appendJSONString(text, member.key());
            text.append(':');
            appendCompact(text, member.value);
        });
        text.append('}');
        break;
    case JSONValue::Case::array:
        text.append('[');
        appendItems(text, *value.arrayValue(),
                    [&](const JSONValue& element) { appendCompact(text, element); });
        text.append(']');
        break;
    default:
        appendScalar(text, value);
        break;
    }
}

void beginPrettyLine(TextBuffer& text, std::size_t level) {
    text.append('\n');
    text.append(2 * level, ' ');
}

/// Appends a container: its items between its brackets, one a line; if empty, just the brackets.
template <typename Items, typename AppendItem>
void appendPrettyItems(TextBuffer& text, const Items& items, std::string_view brackets,
                       std::size_t level, AppendItem appendItem) {
    text.append(brackets[0]);
    appendItems(text, items, [&](const auto& item) {
        beginPrettyLine(text, level + 1);
        appendItem(item);
    });
    if (!items.empty()) {
        beginPrettyLine(text, level);
    }
    text.append(brackets[1]);
}

void appendPretty(TextBuffer& text, const JSONValue& value, std::size_t level) {
    switch (value.kind()) {
    case JSONValue::Case::object:
        appendPrettyItems(text, *value.objectValue(), "{}", level, [&](const JSONMember& member) {
            appendJSONString(text, member.key());
            text.append(" : ");
            appendPretty(text, member.value, level + 1);
        });
        break;
    case JSONValue::Case::array:
        appendPrettyItems(text, *value.arrayValue(), "[]", level, [&](const JSONValue& element) {
            appendPretty(text, element, level + 1);
        });
        break;
    default:
        appendScalar(text, value);
        break;
    }
}

} // namespace

std::string JSONWriter::write(const JSONValue& value) const {
    TextBuffer text;
    append(text, value);
    return std::string{text.view()};
}

void JSONWriter::append(TextBuffer& text, const JSONValue& value) const {
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

void appendJSONString(TextBuffer& text, std::string_view content) {
    text.append('"');
    static_cast<void>(text.room(content.size())); // a long text needs hardly more
    constexpr std::size_t longestPart = 1024; // room is asked for as if all of it had to be escaped
    while (!content.empty()) {
        const auto part = content.substr(0, longestPart);
        char* const room = text.room(longestEscape * part.size() + sizeof(ByteBlock));
        text.added(static_cast<std::size_t>(writeEscaped(room, part) - room));
        content.remove_prefix(part.size());
    }
    text.append('"');
}

} // namespace MCPStdio
