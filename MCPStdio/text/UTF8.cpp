#include "MCPStdio/text/UTF8.hpp"

#include "MCPStdio/text/ByteScan.hpp"

#include <algorithm>

namespace MCPStdio {
namespace {

/// A sequence of a text. If it is ill-formed, `length` is that of the longest prefix of a
/// well-formed sequence; one for a byte that begins none.
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
    // The second byte's range excludes overlong forms, surrogates and values above U+10FFFF.
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

/// Returns the index of the first byte from `at` on that is not ASCII. Most texts have none.
std::size_t skipASCII(std::string_view text, std::size_t at) noexcept {
    const auto block = [&](std::size_t i) {
        return loadBlock(text.data() + at + i * sizeof(ByteBlock));
    };
    while (text.size() - at >= 4 * sizeof(ByteBlock) &&
           !blockMarks(markNonASCII(block(0) | block(1) | block(2) | block(3))).any()) {
        at += 4 * sizeof(ByteBlock);
    }
    return findByte(text, at, markNonASCII);
}

/// The number of preceding bytes that decide whether a byte is well-formed.
constexpr std::size_t lookBehind = 3;

/// Returns whether each of sixteen bytes may follow those before it, which are read as well.
bool isWellFormedBlock(const char* bytes) noexcept {
    const ByteBlock byte = loadBlock(bytes);
    const ByteBlock before = loadBlock(bytes - 1);
    const auto continues = (byte & 0xC0) == 0x80;
    const auto expected =
        (before >= 0xC0) | (loadBlock(bytes - 2) >= 0xE0) | (loadBlock(bytes - lookBehind) >= 0xF0);
    // The first two bytes reveal overlong forms, surrogates and values above U+10FFFF.
    const auto wrong = (continues ^ expected) | ((byte & 0xFE) == 0xC0) | (byte >= 0xF5) |
                       ((before == 0xE0) & (byte < 0xA0)) | ((before == 0xED) & (byte >= 0xA0)) |
                       ((before == 0xF0) & (byte < 0x90)) | ((before == 0xF4) & (byte >= 0x90));
    return !blockMarks(wrong).any();
}

/// Skips blocks of well-formed text from a sequence at `at`, which has at least `lookBehind` bytes
/// before it. Stops at an ill-formed block, or if less than a block is left, and returns the start
/// of a sequence there or a few bytes before.
std::size_t skipBlocks(std::string_view text, std::size_t at) noexcept {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    while (text.size() - at >= sizeof(ByteBlock) && isWellFormedBlock(text.data() + at)) {
        at += sizeof(ByteBlock);
        if (byteAt(at - 1) < 0x80) {
            at = skipASCII(text, at);
        }
    }
    at -= lookBehind; // the last sequence may continue wrongly
    while ((byteAt(at) & 0xC0U) == 0x80) {
        --at;
    }
    return at;
}

/// Returns the start of the first sequence from `at` on that is ill-formed or begins at or after
/// `end`.
std::size_t skipSequences(std::string_view text, std::size_t at, std::size_t end) noexcept {
    while (at < end) {
        const Sequence sequence = sequenceAt(text, at);
        if (!sequence.wellFormed) {
            break;
        }
        at += sequence.length;
    }
    return at;
}

} // namespace

std::size_t findInvalidUTF8(std::string_view text) noexcept {
    std::size_t at = skipASCII(text, 0);
    at = skipSequences(text, at, std::min(text.size(), lookBehind));
    if (at >= lookBehind) {
        at = skipSequences(text, skipBlocks(text, at), text.size());
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
