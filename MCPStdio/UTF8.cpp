#include "MCPStdio/UTF8.hpp"

#include "MCPStdio/ByteScan.hpp"

#include <algorithm>

namespace MCPStdio {
namespace {

/// What the sequence at `at` is: its length when it is well-formed; else how many of its bytes are
/// the longest beginning of a well-formed one (at least one, for a byte that begins nothing).
struct Sequence {
    std::size_t length;
    bool wellFormed;
};

Sequence sequenceAt(std::string_view text, std::size_t at) noexcept {
    const auto byteAt = [&](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
    };
    const unsigned lead = byteAt(at);
    if (lead < 0x80) {
        return {1, true};
    }
    // The second byte's range rules out overlong forms, surrogates and what lies beyond U+10FFFF.
    std::size_t length = 0;
    unsigned low = 0x80;
    unsigned high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : low;
        high = lead == 0xED ? 0x9F : high;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : low;
        high = lead == 0xF4 ? 0x8F : high;
    } else {
        return {1, false};
    }
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned byte = byteAt(at + i);
        if (byte < low || byte > high) {
            return {i, false};
        }
        low = 0x80;
        high = 0xBF;
    }
    return {length, true};
}

/// The length of a well-formed sequence of two or three bytes without the special cases of some
/// leads, which is nearly every one; zero for whatever else there is.
std::size_t commonSequenceAt(std::string_view text, std::size_t at) noexcept {
    if (text.size() - at < 3) {
        return 0;
    }
    const auto byteAt = [&](std::size_t index) {
        return static_cast<unsigned>(static_cast<unsigned char>(text[at + index]));
    };
    const auto continues = [&](std::size_t index) { return (byteAt(index) & 0xC0U) == 0x80U; };
    const unsigned lead = byteAt(0);
    if ((lead & 0xE0U) == 0xC0U) {
        return lead >= 0xC2 && continues(1) ? 2 : 0;
    }
    const bool plain = (lead & 0xF0U) == 0xE0U && lead != 0xE0 && lead != 0xED;
    return plain && continues(1) && continues(2) ? 3 : 0;
}

} // namespace

std::size_t findInvalidUTF8(std::string_view text) noexcept {
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t width = std::min(text.size() - at, sizeof(ByteWord));
        at += std::min(bytesBefore(markNonASCII(loadShort(text.data() + at, width))), width);
        while (at < text.size() && static_cast<unsigned char>(text[at]) >= 0x80) {
            const std::size_t length = commonSequenceAt(text, at);
            const Sequence sequence = length > 0 ? Sequence{length, true} : sequenceAt(text, at);
            if (!sequence.wellFormed) {
                return at;
            }
            at += sequence.length;
        }
    }
    return at;
}

std::string repairUTF8(std::string text) {
    std::size_t good = findInvalidUTF8(text);
    if (good == text.size()) {
        return text;
    }
    std::string repaired;
    std::string_view rest{text};
    while (good < rest.size()) {
        repaired.append(rest.substr(0, good));
        repaired.append("\xEF\xBF\xBD");
        rest.remove_prefix(good + sequenceAt(rest, good).length);
        good = findInvalidUTF8(rest);
    }
    repaired.append(rest);
    return repaired;
}

void appendUTF8(std::string& text, char32_t scalar) {
    const auto add = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (scalar < 0x80) {
        add(scalar);
    } else if (scalar < 0x800) {
        add(0xC0 | scalar >> 6U);
        add(0x80 | (scalar & 0x3F));
    } else if (scalar < 0x10000) {
        add(0xE0 | scalar >> 12U);
        add(0x80 | (scalar >> 6U & 0x3F));
        add(0x80 | (scalar & 0x3F));
    } else {
        add(0xF0 | scalar >> 18U);
        add(0x80 | (scalar >> 12U & 0x3F));
        add(0x80 | (scalar >> 6U & 0x3F));
        add(0x80 | (scalar & 0x3F));
    }
}

} // namespace MCPStdio
