#pragma once

#include "MCPStdio/text/ByteScan.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace MCPStdio {

/// The decimal digits that a word begins with, and the number that they make.
struct Digits {
    std::size_t count;
    std::uint64_t number;
};
constexpr Digits leadingDigits(ByteWord word) noexcept {
    word ^= allBytes('0');
    const std::size_t count = bytesBefore((word | (word + allBytes(0x80 - 10))) & allBytes(0x80));
    if (count == 0) {
        return {0, 0};
    }
    // Zeros before them, then neighbours are joined: digits to pairs, these to fours, these to all.
    word <<= 8 * (sizeof word - count);
    word = (word * 10 + (word >> 8U)) & 0x00FF'00FF'00FF'00FF;
    word = (word * 100 + (word >> 16U)) & 0x0000'FFFF'0000'FFFF;
    return {count, (word * 10'000 + (word >> 32U)) & 0xFFFF'FFFF};
}

/// Numbers of everyday life have powers of ten from its negative up to this one: five to this power
/// still fits a word.
constexpr int largestEverydayPower = 27;

/// The double nearest to `digits` times an everyday power of ten, halves to even.
double nearestDouble(std::uint64_t digits, int powerOfTen) noexcept;

/// The double nearest to a number as JSON writes it, whatever the process's locale; infinite where
/// it is too large.
double readDecimal(std::string_view number);

} // namespace MCPStdio
