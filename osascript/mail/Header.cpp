#include "osascript/mail/Header.hpp"

#include "osascript/mail/Addresses.hpp"
#include "osascript/mail/OneLine.hpp"
#include "osascript/message/EncodedWords.hpp"

#include <algorithm>
#include <array>

namespace velmiro::osascript {
namespace {

constexpr std::string_view blanks = " \t";
constexpr std::string_view whiteSpace = " \t\r\n\v\f";

bool isSameLetter(char one, char other) {
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    };
    return lower(one) == lower(other);
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(whiteSpace), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

/// Half an address would be another one, and half an encoded word none.
std::string_view cut(std::string_view value) {
    if (value.size() <= largestValue) {
        return value;
    }
    constexpr std::size_t longestPiece = 1024; // lines of mail have at most 998 bytes
    const std::string_view beginning = value.substr(0, largestValue);
    for (const std::string_view ends : {"\n", " \t,"}) {
        const std::size_t end = beginning.find_last_of(ends);
        if (end != std::string_view::npos && end + longestPiece > largestValue) {
            return beginning.substr(0, end);
        }
    }
    std::size_t end = largestValue;
    while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0U) == 0x80U &&
           end + 3 > largestValue) {
        --end; // not within a character of UTF-8
    }
    return value.substr(0, end);
}

std::string unfolded(std::string_view value) {
    value = cut(value);
    std::string text;
    text.reserve(value.size());
    while (!value.empty()) {
        const std::size_t end = std::min(value.find('\n'), value.size());
        const std::string_view line = value.substr(0, end);
        text += end < value.size() ? line.substr(0, line.find_last_not_of('\r') + 1) : line;
        value.remove_prefix(std::min(end + 1, value.size()));
    }
    return std::string{trimmed(text)};
}

/// Returns the length of the field at the beginning of `lines`, with its folded lines and the last
/// line feed.
std::size_t lengthOfField(std::string_view lines) {
    std::size_t end = 0;
    do {
        end = std::min(lines.find('\n', end), lines.size() - 1) + 1;
    } while (end < lines.size() && blanks.find(lines[end]) != std::string_view::npos);
    return end;
}

/// Returns the raw value of a field if it has that name.
std::optional<std::string_view> valueIfNamed(std::string_view field, std::string_view name) {
    if (field.size() <= name.size() ||
        !std::ranges::equal(field.substr(0, name.size()), name, isSameLetter)) {
        return std::nullopt;
    }
    const std::size_t colon = field.find_first_not_of(blanks, name.size());
    return colon != std::string_view::npos && field[colon] == ':'
               ? std::optional{field.substr(colon + 1)}
               : std::nullopt;
}

/// Calls `visit` with the raw value of each field of that name, until it returns false.
template <typename Visit>
void visitFields(std::string_view header, std::string_view name, const Visit& visit) {
    constexpr std::string_view byteOrderMark = "\uFEFF";
    if (header.starts_with(byteOrderMark)) {
        header.remove_prefix(byteOrderMark.size());
    }
    while (!header.empty()) {
        const std::size_t length = lengthOfField(header);
        const auto value = valueIfNamed(header.substr(0, length), name);
        if (value && !visit(*value)) {
            return;
        }
        header.remove_prefix(length);
    }
}

} // namespace

std::size_t headerEnd(std::string_view message) {
    const auto isEmptyLine = [&](std::size_t at) {
        const std::size_t end = message.find_first_not_of('\r', at);
        return end != std::string_view::npos && message[end] == '\n';
    };
    std::size_t at = 0;
    while (!isEmptyLine(at)) {
        at = message.find('\n', at);
        if (at == std::string_view::npos) {
            return at;
        }
        ++at;
    }
    return at;
}

std::optional<std::string> firstValue(std::string_view header, std::string_view name) {
    std::optional<std::string> first;
    visitFields(header, name, [&](std::string_view value) {
        first = unfolded(value);
        return false;
    });
    return first;
}

std::vector<std::string> allValues(std::string_view header, std::string_view name) {
    std::vector<std::string> all;
    visitFields(header, name, [&](std::string_view value) {
        all.push_back(unfolded(value));
        return true;
    });
    return all;
}

std::string decodedValue(std::string_view header, std::string_view name) {
    return inOneLine(decodedWords(firstValue(header, name).value_or("")));
}

std::vector<Mailbox> mailboxesOf(std::string_view header, std::string_view name) {
    std::vector<Mailbox> all;
    for (const std::string& value : allValues(header, name)) {
        addMailboxes(value, all);
    }
    return all;
}

} // namespace velmiro::osascript
