#include "MCPStdio/json/Decimal.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>
#include <string>

using namespace MCPStdio;

namespace {

/// Expects the same double, to the bit, that the C++ library reads from the same number.
void expectNearest(std::uint64_t digits, int power) {
    const std::string text = std::to_string(digits) + "e" + std::to_string(power);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(nearestDouble(digits, power)),
              std::bit_cast<std::uint64_t>(readDecimal(text)))
        << text;
}

} // namespace

TEST(Decimal, DigitsAreReadUpToTheFirstOtherByte) {
    for (const std::string suffix :
         {"........", ":::::::", "///////", "\xFF\xFF\xFF\xFF\xFF\xFF\xFF",
          "\x8A\x8A\x8A\x8A\x8A\x8A\x8A", "\x01\x01\x01\x01\x01\x01\x01"}) {
        const std::string text = "90817263" + suffix;
        for (std::size_t from = 0; from <= 8; ++from) {
            const Digits digits = leadingDigits(loadWord(text.data() + from));
            ASSERT_EQ(digits.count, 8 - from);
            ASSERT_EQ(digits.number, from == 8 ? 0 : std::stoull(text.substr(from)));
        }
    }
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text{'1', static_cast<char>(byte), '2', '3', '4', '5', '6', '7'};
        const bool isDigit = byte >= '0' && byte <= '9';
        ASSERT_EQ(leadingDigits(loadWord(text.data())).count, isDigit ? 8U : 1U) << byte;
    }
}

TEST(Decimal, AnyDigitsTimesAnyFastPowerGiveTheNearestDouble) {
    std::mt19937_64 random{1};
    for (int power = -largestFastPower; power <= largestFastPower; ++power) {
        for (const std::uint64_t digits : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{9},
                                           ~std::uint64_t{0}, std::uint64_t{1} << 63U}) {
            expectNearest(digits, power);
        }
        for (int i = 0; i < 4000; ++i) {
            expectNearest(random() >> random() % 64, power);
        }
    }
}

TEST(Decimal, HalfwayBetweenTwoDoublesRoundsToTheEvenOne) {
    std::mt19937_64 random{2};
    for (int i = 0; i < 2000; ++i) {
        // 54 bits, one more than a double has, the last one set.
        const std::uint64_t halfway = std::uint64_t{1} << 53U | random() >> 11U | 1U;
        std::uint64_t five = 1;
        for (int power = 0; power >= -4; --power, five *= 5) {
            // The halfway number divided by a power of two, and its neighbours.
            for (const std::uint64_t digits :
                 {halfway * five - 1, halfway * five, halfway * five + 1}) {
                expectNearest(digits, power);
            }
        }
        // And times a power of ten: what remains of 54 bits without the factors of five.
        for (int power = 1; power <= 22; ++power) {
            const double fives = std::pow(5.0, power);
            const auto least = static_cast<std::uint64_t>(0x1p53 / fives) | 1U;
            for (std::uint64_t digits = least; digits < least + 20; ++digits) {
                expectNearest(digits, power);
            }
        }
    }
}

TEST(Decimal, NearHalfwayRoundsToTheNearerDouble) {
    // Decimal expansions of halfway numbers, cut off after the nineteenth digit, and neighbours.
    std::mt19937_64 random{3};
    for (int i = 0; i < 20'000; ++i) {
        const int exponent = static_cast<int>(random() % 120) - 60;
        const double number = std::ldexp(static_cast<double>(random() >> 11U), exponent);
        const long double gap = std::nextafter(number, INFINITY) - number;
        const long double halfway = static_cast<long double>(number) + gap / 2;
        const int power = static_cast<int>(std::floor(std::log10(number))) - 18;
        if (std::abs(power) > largestFastPower) {
            continue;
        }
        const long double scaled = halfway * std::pow(10.0L, -power);
        const auto digits = static_cast<std::uint64_t>(scaled);
        for (std::uint64_t near = digits - 2; near <= digits + 2; ++near) {
            expectNearest(near, power);
        }
    }
}

TEST(Decimal, OverflowIsInfiniteAndUnderflowIsZero) {
    EXPECT_TRUE(std::isinf(readDecimal("1e400")));
    EXPECT_TRUE(std::isinf(readDecimal("-1e400")));
    EXPECT_EQ(readDecimal("1e-400"), 0.0);
}
