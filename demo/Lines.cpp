#include "demo/Lines.hpp"

#include <algorithm>

namespace velmiro::demo {

namespace {

std::size_t widthOf(char32_t scalar) {
    constexpr char32_t joiner = 0x200D;
    if (scalar == joiner || (scalar >= 0x300 && scalar <= 0x36F) ||
        (scalar >= 0xFE00 && scalar <= 0xFE0F)) {
        return 0;
    }
    const bool isWide =
        (scalar >= 0x1100 && scalar <= 0x115F) || (scalar >= 0x2600 && scalar <= 0x27BF) ||
        (scalar >= 0x2E80 && scalar <= 0xD7FF) || (scalar >= 0xF900 && scalar <= 0xFAFF) ||
        (scalar >= 0xFF00 && scalar <= 0xFF60) || scalar >= 0x1F000;
    return isWide ? 2 : 1;
}

/// Removes the first scalar value.
char32_t take(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    char32_t scalar = length == 1 ? first : first & (0xFFU >> (length + 1));
    for (const char byte : text.substr(1, length - 1)) {
        scalar = (scalar << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    text.remove_prefix(std::min(length, text.size()));
    return scalar;
}

std::string fittedLine(std::string_view line, std::size_t columns, std::size_t deeper) {
    const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
    const std::string next = '\n' + std::string(indent + deeper, ' ');
    std::string text{line.substr(0, indent)};
    std::size_t used = indent;
    bool isFirst = true;
    for (std::string_view rest = line.substr(indent); !rest.empty();) {
        const std::size_t end = std::min(rest.find_first_of(" ,"), rest.size() - 1) + 1;
        const std::string_view word = rest.substr(0, end);
        const std::size_t seen = columnsOf(word) - (word.ends_with(' ') ? 1 : 0);
        if (!isFirst && used + seen > columns) {
            text.erase(text.find_last_not_of(' ') + 1);
            text += next;
            used = indent + deeper;
        }
        isFirst = false;
        text += word;
        used += columnsOf(word);
        rest.remove_prefix(end);
    }
    return text;
}

} // namespace

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        columns += widthOf(take(text));
    }
    return columns;
}

std::string fitted(std::string_view text, std::size_t columns, std::size_t deeper) {
    std::string all;
    for (;;) {
        const auto end = text.find('\n');
        all += fittedLine(text.substr(0, end), columns, deeper);
        if (end == std::string_view::npos) {
            return all;
        }
        all += '\n';
        text.remove_prefix(end + 1);
    }
}

} // namespace velmiro::demo
