#include "MCPStdio/text/UTF8.hpp"

#include "MCPStdio/text/ByteScan.hpp"

#include <algorithm>
#include <array>
#include <cstring>

// Lets the system choose a version for the processor when the program starts. A sanitizer is not
// ready by then.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MCPSTDIO_WIDE_VERSIONS
#elif defined(__x86_64__) && defined(__GLIBC__) && !defined(__clang__)
#define MCPSTDIO_WIDE_VERSIONS [[gnu::target_clones("avx2", "default")]]
#else
#define MCPSTDIO_WIDE_VERSIONS
#endif

namespace MCPStdio {
namespace {

/// Bytes that are checked together: as wide as registers are, or two registers.
using WideBlock [[gnu::vector_size(32)]] = unsigned char;
using WideMarks [[gnu::vector_size(32)]] = signed char;

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

/// The number of preceding bytes that decide whether a byte is well-formed.
constexpr std::size_t lookBehind = 3;

/// Marks the bytes of a block, from `bytes` on, that may not follow those before them.
[[gnu::always_inline]] inline void markWrong(const char* bytes, WideMarks& wrong) noexcept {
    WideBlock byte;
    WideBlock before;
    WideBlock twoBefore;
    WideBlock threeBefore;
    std::memcpy(&byte, bytes, sizeof byte);
    std::memcpy(&before, bytes - 1, sizeof byte);
    std::memcpy(&twoBefore, bytes - 2, sizeof byte);
    std::memcpy(&threeBefore, bytes - lookBehind, sizeof byte);
    const auto continues = (byte & 0xC0) == 0x80;
    const auto expected = (before >= 0xC0) | (twoBefore >= 0xE0) | (threeBefore >= 0xF0);
    // The first two bytes reveal overlong forms, surrogates and values above U+10FFFF.
    wrong |= (continues ^ expected) | ((byte & 0xFE) == 0xC0) | (byte >= 0xF5) |
             ((before == 0xE0) & (byte < 0xA0)) | ((before == 0xED) & (byte >= 0xA0)) |
             ((before == 0xF0) & (byte < 0x90)) | ((before == 0xF4) & (byte >= 0x90));
}

template <typename Block>
[[gnu::always_inline]] inline bool isZero(const Block& block) noexcept {
    std::array<ByteWord, sizeof(Block) / sizeof(ByteWord)> words;
    std::memcpy(words.data(), &block, sizeof block);
    return (words[0] | words[1] | words[2] | words[3]) == 0;
}

/// Skips pairs of blocks of well-formed text from a sequence at `at`, which has at least
/// `lookBehind` bytes before it. Returns where an ill-formed pair begins, or where less than a pair
/// is left. The sequence at the end of what it skipped may continue wrongly.
MCPSTDIO_WIDE_VERSIONS std::size_t skipBlocks(const char* text, std::size_t size,
                                              std::size_t at) noexcept {
    constexpr std::size_t pair = 2 * sizeof(WideBlock);
    for (; size - at >= pair; at += pair) {
        WideBlock first;
        WideBlock second;
        std::memcpy(&first, text + at, sizeof first);
        std::memcpy(&second, text + at + sizeof first, sizeof second);
        first = (first | second) & 0x80;
        if (isZero(first) && static_cast<unsigned char>(text[at - 1]) < 0x80) {
            continue;
        }
        WideMarks wrong{};
        markWrong(text + at, wrong);
        markWrong(text + at + sizeof first, wrong);
        if (!isZero(wrong)) {
            break;
        }
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
    std::size_t at = skipSequences(text, 0, std::min(text.size(), lookBehind));
    if (at < lookBehind) {
        return at;
    }
    at = skipBlocks(text.data(), text.size(), at) - lookBehind;
    while ((static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80) {
        --at; // to the start of a sequence
    }
    return skipSequences(text, at, text.size());
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

char* writeUTF8(char* to, char32_t scalar) noexcept {
    const auto add = [&](char32_t byte) { *to++ = static_cast<char>(byte); };
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
    return to;
}

void appendUTF8(std::string& text, char32_t scalar) {
    std::array<char, longestUTF8> bytes{};
    text.append(bytes.data(), writeUTF8(bytes.data(), scalar));
}

} // namespace MCPStdio
