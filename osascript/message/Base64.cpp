#include "osascript/message/Base64.hpp"

#include <algorithm>
#include <cstdint>

namespace velmiro::osascript {
namespace {

/// Returns the six bits that a character stands for, or -1.
int base64Digit(char c) {
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

/// Returns whether a line after padding is base64 that was appended, and not a plain text that a
/// mailing list added.
bool isWhole(std::string_view line) {
    return line.size() % 4 == 0 &&
           std::ranges::all_of(line, [](char c) { return c == '=' || base64Digit(c) >= 0; });
}

std::string_view withoutBlanks(std::string_view line) {
    constexpr std::string_view blanks = " \t\r";
    line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
    return line.substr(0, line.find_last_not_of(blanks) + 1);
}

} // namespace

void appendBase64(std::string& bytes, std::string_view text) {
    std::uint32_t bits = 0;
    int count = 0; // of bits not yet written
    bool isPadded = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = withoutBlanks(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (isPadded && !isWhole(line)) {
            return;
        }
        for (const char c : line) {
            const int digit = base64Digit(c);
            if (digit >= 0) {
                bits = bits << 6U | static_cast<std::uint32_t>(digit);
                count += 6;
            } else if (c == '=') {
                count = 0; // the end of a quantum; the next may follow
                isPadded = true;
            }
            if (count >= 8) {
                count -= 8;
                bytes += static_cast<char>(bits >> static_cast<unsigned>(count) & 0xFFU);
            }
        }
    }
}

} // namespace velmiro::osascript
