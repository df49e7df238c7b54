#include "osascript/message/MessageHeader.hpp"

#include "osascript/message/EncodedWords.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

/// Returns the text on one line: control characters and white space of any length are one blank.
std::string inOneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        const bool isBlank = static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
        if (!isBlank) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    while (line.ends_with(' ')) {
        line.pop_back();
    }
    return line;
}

std::size_t charactersIn(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

} // namespace

std::string messageHeader(GMimeMessage* message) {
    constexpr std::array names{"From"sv, "Subject"sv, "Date"sv, "To"sv, "Cc"sv, "Bcc"sv};
    struct Field {
        std::string_view name;
        std::string value;
    };
    std::vector<Field> fields;
    std::size_t nameWidth = 0;
    for (const std::string_view name : names) {
        GMimeHeader* const header = g_mime_header_list_get_header(
            g_mime_object_get_header_list(GMIME_OBJECT(message)), name.data());
        const char* const raw = header == nullptr ? nullptr : g_mime_header_get_raw_value(header);
        std::string value = raw == nullptr ? std::string{} : inOneLine(decodedWords(raw));
        if (!value.empty()) {
            fields.push_back({name, std::move(value)});
            nameWidth = std::max(nameWidth, name.size());
        }
    }
    if (fields.empty()) {
        return {};
    }
    std::string lines;
    std::size_t width = 0;
    for (const Field& field : fields) {
        std::string line{field.name};
        line += ": ";
        line.append(nameWidth - field.name.size(), ' ');
        line += field.value;
        width = std::max(width, charactersIn(line));
        lines += line + "\n";
    }
    constexpr std::size_t longestRule = 80;
    const std::string rule(std::min(width, longestRule), '-');
    return rule + "\n" + lines + rule;
}

} // namespace velmiro::osascript
