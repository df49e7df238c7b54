#pragma once

#include "MCPStdio/text/ByteScan.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace MCPStdio {

/// Decimal digits: how many, and the number they form.
struct Digits {
    std::size_t count;
    std::uint64_t number;
};
/// Reads the digits at the beginning of a word, up to the first byte that is none. `coordinates`
/// takes a fifth longer to read digit by digit.
constexpr Digits leadingDigits(ByteWord word) noexcept {
    constexpr ByteWord inEachByte = 0x0101'0101'0101'0101;
    word ^= inEachByte * '0';
    // The lowest high bit marks the first byte that is no digit; those above it may be wrong.
    const ByteWord marks = (word | (word + inEachByte * (0x80 - 10))) & inEachByte * 0x80;
    const auto count = static_cast<std::size_t>(std::countr_zero(marks)) / 8;
    if (count == 0) {
        return {0, 0};
    }
    // Put zeros before them, then join neighbours: digits to pairs, pairs to fours, fours to all.
    word <<= 8 * (sizeof word - count);
    word = (word * 10 + (word >> 8U)) & 0x00FF'00FF'00FF'00FF;
    word = (word * 100 + (word >> 16U)) & 0x0000'FFFF'0000'FFFF;
    return {count, (word * 10'000 + (word >> 32U)) & 0xFFFF'FFFF};
}

/// The largest power of ten, and the smallest when negated, that `nearestDouble` accepts: five to
/// this power still fits a word. Nearly all numbers in messages need none larger.
constexpr int largestFastPower = 27;

/// Returns the double nearest to `digits` times the power of ten, ties to even.
/// `coordinates` takes half as long again to read with `readDecimal` alone.
double nearestDouble(std::uint64_t digits, int powerOfTen) noexcept;

/// Returns the double nearest to a number in JSON's notation, whatever the process's locale;
/// infinity if it overflows.
double readDecimal(std::string_view number);

} // namespace MCPStdio
