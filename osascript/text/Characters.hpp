#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace velmiro::osascript {

/// No character: a byte that is no part of well-formed UTF-8.
inline constexpr char32_t illFormed = 0xFFFF'FFFF;

inline bool isASCIIByte(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Returns the character at the index `at`, which must be inside the text, and advances `at` to the
/// next one. Returns `illFormed` for a byte that begins no character, and advances by one.
inline char32_t nextCharacter(std::string_view text, std::size_t& at) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    constexpr std::array<char32_t, 4> least{0, 0x80, 0x800, 0x10000}; // lesser ones are overlong
    const unsigned lead = byteAt(at++);
    if (lead < 0x80) {
        return lead;
    }
    const std::size_t count = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1; // of further bytes
    if (lead < 0xC2 || lead > 0xF4 || text.size() - at < count) {
        return illFormed;
    }
    char32_t character = lead & (0x3FU >> count);
    for (std::size_t index = at; index < at + count; ++index) {
        if ((byteAt(index) & 0xC0U) != 0x80) {
            return illFormed;
        }
        character = character << 6U | (byteAt(index) & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    if (character < least[count] || character > 0x10FFFF || isSurrogate) {
        return illFormed;
    }
    at += count;
    return character;
}

} // namespace velmiro::osascript
