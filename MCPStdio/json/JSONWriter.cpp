#include "MCPStdio/json/JSONWriter.hpp"

#include "MCPStdio/text/ByteScan.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

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

void appendEscape(TextBuffer& text, unsigned char byte) {
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
        text.append(hex[byte >> 4U]);
        text.append(hex[byte & 0x0FU]);
    }
}

/// Appends the beginning of a text, up to the first byte that needs an escape; returns its length.
std::size_t appendPlain(TextBuffer& text, std::string_view content) {
    constexpr std::size_t wordSize = sizeof(ByteWord);
    char* const to = text.room(content.size() + wordSize);
    std::size_t at = 0;
    std::size_t width = 0;
    std::size_t plain = 0;
    do {
        width = std::min(content.size() - at, wordSize);
        const ByteWord word = loadShort(content.data() + at, width);
        std::memcpy(to + at, &word, wordSize);
        plain = std::min(bytesBefore(markStringStop(word)), width);
        at += plain;
    } while (plain == wordSize);
    text.added(at);
    return at;
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
    while (true) {
        content.remove_prefix(appendPlain(text, content));
        if (content.empty()) {
            break;
        }
        appendEscape(text, static_cast<unsigned char>(content.front()));
        content.remove_prefix(1);
    }
    text.append('"');
}

} // namespace MCPStdio
