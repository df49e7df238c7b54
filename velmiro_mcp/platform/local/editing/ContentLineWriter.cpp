#include "velmiro_mcp/platform/local/editing/ContentLineWriter.hpp"

#include <algorithm>
#include <cstddef>

namespace velmiro::local {
namespace {

constexpr std::size_t longestLine = 75;

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

void appendLine(std::string& text, std::string_view name, std::string_view value) {
    std::string line{name};
    line += ':';
    line += value;
    std::string_view rest = line;
    std::size_t room = longestLine;
    while (rest.size() > room) {
        std::size_t length = room;
        while (length > 0 && continuesCharacter(rest[length])) {
            --length;
        }
        length = length == 0 ? room : length; // longer than any UTF-8 sequence: not text
        text += rest.substr(0, length);
        text += "\r\n ";
        rest.remove_prefix(length);
        room = longestLine - 1;
    }
    text += rest;
    text += "\r\n";
}

std::string escapedText(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char letter : text) {
        switch (letter) {
        case '\n':
            escaped += "\\n";
            break;
        case '\\':
        case ';':
        case ',':
            escaped += '\\';
            [[fallthrough]];
        default:
            escaped += letter;
        }
    }
    return escaped;
}

std::string withPlainLineEnds(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '\r') {
            plain += text[index];
            continue;
        }
        plain += '\n';
        if (index + 1 < text.size() && text[index + 1] == '\n') {
            ++index;
        }
    }
    return plain;
}

bool isStorable(std::string_view text) {
    return std::ranges::none_of(text, [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return (byte < 0x20 && letter != '\t' && letter != '\n') || byte == 0x7F;
    });
}

} // namespace velmiro::local
