#include "osascript/message/Base64.hpp"

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

} // namespace

void appendBase64(std::string& bytes, std::string_view text) {
    std::uint32_t bits = 0;
    int count = 0; // of bits not yet written
    for (const char c : text) {
        const int digit = base64Digit(c);
        if (digit >= 0) {
            bits = bits << 6U | static_cast<std::uint32_t>(digit);
            count += 6;
        } else if (c == '=') {
            count = 0; // the end of a quantum; the next may follow
        }
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> static_cast<unsigned>(count) & 0xFFU);
        }
    }
}

} // namespace velmiro::osascript
