#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

/// Searches texts for bytes: eight at a time in a plain integer, which is fast for short texts, as
/// keys and most strings are, and sixteen at a time in a vector. The code is the same on every
/// processor.
namespace MCPStdio {

/// Eight bytes of a text, the first in the lowest byte.
using ByteWord = std::uint64_t;

/// The high bit of each byte that matches. Only the lowest mark is reliable; those above it may be
/// wrong.
using ByteMarks = std::uint64_t;

/// Sixteen bytes, for which the compiler uses the vector registers that the processor has.
using ByteBlock [[gnu::vector_size(16)]] = unsigned char;

constexpr ByteWord allBytes(unsigned char byte) noexcept {
    return 0x0101010101010101U * byte;
}
// Each mark has two forms: integer arithmetic on a word, vector comparisons on a block.
/// Marks the bytes below `limit`, which is at most 0x80.
constexpr ByteMarks markBelow(ByteWord word, unsigned char limit) noexcept {
    return (word - allBytes(limit)) & ~word & allBytes(0x80);
}
inline auto markBelow(ByteBlock block, unsigned char limit) noexcept {
    return block < limit;
}
constexpr ByteMarks markEqual(ByteWord word, unsigned char byte) noexcept {
    return markBelow(word ^ allBytes(byte), 1);
}
inline auto markEqual(ByteBlock block, unsigned char byte) noexcept {
    return block == byte;
}
constexpr ByteMarks markNotBelow0x80(ByteWord word) noexcept {
    return word & allBytes(0x80);
}
inline auto markNotBelow0x80(ByteBlock block) noexcept {
    return block >= 0x80;
}
// Arguments of `findByte` are function objects, so that their calls are inlined.
constexpr auto markNonASCII = [](auto bytes) noexcept { return markNotBelow0x80(bytes); };
/// Marks what a JSON string cannot hold unescaped: control characters, quotes and backslashes.
constexpr auto markStringStop = [](auto bytes) noexcept {
    return markBelow(bytes, 0x20) | markEqual(bytes, '"') | markEqual(bytes, '\\');
};
/// Returns the number of bytes before the first marked one; eight if none is marked.
constexpr std::size_t bytesBefore(ByteMarks marks) noexcept {
    return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
}

// A byte of a block is marked if its high bit is set. `markBits` returns one bit for each, the
// first byte's lowest; `anyMark` is cheaper where that takes more than one instruction.
#ifdef __SSE2__
template <typename Marks>
std::uint32_t markBits(Marks marks) noexcept {
    using Bytes [[gnu::vector_size(sizeof(ByteBlock))]] = char;
    return static_cast<std::uint32_t>(__builtin_ia32_pmovmskb128(std::bit_cast<Bytes>(marks)));
}
template <typename Marks>
bool anyMark(Marks marks) noexcept {
    return markBits(marks) != 0;
}
#else
template <typename Marks>
auto highBits(Marks marks) noexcept {
    using Words [[gnu::vector_size(sizeof(ByteBlock))]] = ByteWord;
    return std::bit_cast<Words>(marks) & allBytes(0x80);
}
template <typename Marks>
std::uint32_t markBits(Marks marks) noexcept {
    // The highest byte of each product collects the bits of a word.
    const auto products = (highBits(marks) >> 7) * 0x0102040810204080U;
    return static_cast<std::uint32_t>(products[0] >> 56U | products[1] >> 56U << 8U);
}
template <typename Marks>
bool anyMark(Marks marks) noexcept {
    const auto bits = highBits(marks);
    return (bits[0] | bits[1]) != 0;
}
#endif
/// Returns the number of bytes before the first marked one of a block; sixteen if none is marked.
template <typename Marks>
std::size_t bytesBeforeMark(Marks marks) noexcept {
    return static_cast<std::size_t>(std::countr_zero(markBits(marks) | 1U << sizeof(ByteBlock)));
}

inline ByteWord loadWord(const char* bytes) noexcept {
    ByteWord word = 0;
    std::memcpy(&word, bytes, sizeof word);
    static_assert(std::endian::native == std::endian::little);
    return word;
}

inline ByteBlock loadBlock(const char* bytes) noexcept {
    ByteBlock block;
    std::memcpy(&block, bytes, sizeof block);
    return block;
}

/// Loads `count` bytes, at most eight, followed by zeros.
inline ByteWord loadShort(const char* bytes, std::size_t count) noexcept {
    const auto load = [bytes](auto width, std::size_t at) {
        ByteWord word = 0;
        std::memcpy(&word, bytes + at, width);
        return word << 8 * at;
    };
    constexpr std::integral_constant<std::size_t, 4> half;
    constexpr std::integral_constant<std::size_t, 1> one;
    // The pieces may overlap: the shared bytes are the same in both.
    if (count == 8) {
        return loadWord(bytes);
    }
    if (count >= 4) {
        return load(half, 0) | load(half, count - 4);
    }
    return count == 0 ? 0 : load(one, 0) | load(one, count / 2) | load(one, count - 1);
}

/// Returns the index of the first byte of `text`, from index `from` on, that `mark` marks;
/// `text.size()` if there is none. `mark` accepts a ByteWord as well as a ByteBlock.
template <typename Mark>
std::size_t findByte(std::string_view text, std::size_t from, Mark mark) noexcept {
    constexpr std::size_t wordSize = sizeof(ByteWord);
    constexpr std::size_t blockSize = sizeof(ByteBlock);
    const char* const bytes = text.data();
    std::size_t at = from;
    for (; text.size() - at >= 2 * blockSize; at += 2 * blockSize) {
        const auto first = mark(loadBlock(bytes + at));
        const auto second = mark(loadBlock(bytes + at + blockSize));
        if (anyMark(first | second)) {
            const std::uint32_t bits = markBits(first) | markBits(second) << blockSize;
            return at + static_cast<std::size_t>(std::countr_zero(bits));
        }
    }
    if (text.size() - at >= blockSize) {
        const auto marks = mark(loadBlock(bytes + at));
        if (anyMark(marks)) {
            return at + bytesBeforeMark(marks);
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
