#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

/// Looking for bytes eight at a time, in plain integers: fast where texts are short, as keys and
/// most strings are, and the same on every processor.
namespace MCPStdio {

/// Eight bytes of a text, the first one lowest.
using ByteWord = std::uint64_t;

/// Marks: the high bit of each byte that is meant. Only the lowest mark is to be trusted; behind it
/// others may be wrong.
using ByteMarks = std::uint64_t;

constexpr ByteWord allBytes(unsigned char byte) noexcept {
    return 0x0101010101010101U * byte;
}
/// `limit` is at most 0x80.
constexpr ByteMarks markBelow(ByteWord word, unsigned char limit) noexcept {
    return (word - allBytes(limit)) & ~word & allBytes(0x80);
}
constexpr ByteMarks markEqual(ByteWord word, unsigned char byte) noexcept {
    return markBelow(word ^ allBytes(byte), 1);
}
// Those that are handed to `findByte` are objects, so that they are compiled into it.
constexpr auto markNonASCII = [](ByteWord word) noexcept -> ByteMarks {
    return word & allBytes(0x80);
};
/// What cannot stand in a JSON string as it is: control characters, quotes and backslashes.
constexpr auto markStringStop = [](ByteWord word) noexcept -> ByteMarks {
    return markBelow(word, 0x20) | markEqual(word, '"') | markEqual(word, '\\');
};
/// How many bytes lie before the first one marked; eight when none is.
constexpr std::size_t bytesBefore(ByteMarks marks) noexcept {
    return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
}

inline ByteWord loadWord(const char* bytes) noexcept {
    ByteWord word = 0;
    std::memcpy(&word, bytes, sizeof word);
    static_assert(std::endian::native == std::endian::little);
    return word;
}

/// Fewer than eight bytes, or eight; zeros behind them.
inline ByteWord loadShort(const char* bytes, std::size_t count) noexcept {
    const auto load = [bytes](auto width, std::size_t at) {
        ByteWord word = 0;
        std::memcpy(&word, bytes + at, width);
        return word << 8 * at;
    };
    constexpr std::integral_constant<std::size_t, 4> half;
    constexpr std::integral_constant<std::size_t, 1> one;
    // The pieces may overlap: where they do they hold the same.
    if (count == 8) {
        return loadWord(bytes);
    }
    if (count >= 4) {
        return load(half, 0) | load(half, count - 4);
    }
    return count == 0 ? 0 : load(one, 0) | load(one, count / 2) | load(one, count - 1);
}

/// Where the first byte of `text` from `from` on lies that `mark` marks; `text.size()` when there
/// is none. `mark` makes ByteMarks of a ByteWord.
template <typename Mark>
std::size_t findByte(std::string_view text, std::size_t from, Mark mark) noexcept {
    constexpr std::size_t wordSize = sizeof(ByteWord);
    constexpr std::size_t blockSize = 4 * wordSize;
    const char* const bytes = text.data();
    std::size_t at = from;
    // The first words alone: short texts are the rule.
    for (int i = 0; i < 4 && text.size() - at >= wordSize; ++i, at += wordSize) {
        if (const ByteMarks marks = mark(loadWord(bytes + at))) {
            return at + bytesBefore(marks);
        }
    }
    while (text.size() - at >= blockSize) {
        ByteMarks any = 0;
        for (std::size_t i = 0; i < blockSize; i += wordSize) {
            any |= mark(loadWord(bytes + at + i));
        }
        if (any != 0) {
            break;
        }
        at += blockSize;
    }
    for (; text.size() - at >= wordSize; at += wordSize) {
        if (const ByteMarks marks = mark(loadWord(bytes + at))) {
            return at + bytesBefore(marks);
        }
    }
    const std::size_t rest = text.size() - at;
    return at + std::min(bytesBefore(mark(loadShort(bytes + at, rest))), rest);
}

} // namespace MCPStdio
