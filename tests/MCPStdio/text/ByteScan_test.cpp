#include "MCPStdio/text/ByteScan.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>

using namespace MCPStdio;

namespace {

bool isStringStop(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == '"' || byte == '\\';
}

} // namespace

TEST(ByteScan, FindsEveryByteThatStopsAStringAndNoOther) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(3, static_cast<char>(byte));
        EXPECT_EQ(findByte(text, 0, markStringStop), isStringStop(text[0]) ? 0U : 3U) << byte;
    }
}

TEST(ByteScan, FindsTheFirstOneAtEveryPositionOfTextsOfEveryLength) {
    for (std::size_t length = 0; length < 100; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            // Surrounded by bytes that arithmetic could take for others.
            for (const char around : {'a', '\x80', '\xFF', '!', ' '}) {
                std::string text(length, around);
                text[position] = '"';
                ASSERT_EQ(findByte(text, 0, markStringStop), position);
                ASSERT_EQ(findByte(text, position, markStringStop), position);
                ASSERT_EQ(findByte(text, position + 1, markStringStop), length);
            }
        }
    }
}

TEST(ByteScan, JudgesEachByteByItselfWhateverStandsBesideIt) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string text{'x', static_cast<char>(first), static_cast<char>(second), 'x'};
            const auto at = std::ranges::find_if(text, isStringStop) - text.begin();
            ASSERT_EQ(findByte(text, 0, markStringStop), static_cast<std::size_t>(at))
                << first << ' ' << second;
        }
    }
}

TEST(ByteScan, CopiesUpToTheFirstStopFromAnyPositionOfTextsOfEveryLength) {
    for (std::size_t length = 0; length < 70; ++length) {
        for (std::size_t stop = 0; stop <= length; ++stop) {
            // The text ends here: nothing after it may be loaded.
            std::string text(length, 'x');
            for (std::size_t i = 0; i < length; ++i) {
                text[i] = static_cast<char>(i == stop ? '\\' : 'a' + i % 26);
            }
            const std::size_t from = stop / 2;
            std::string copy(length + sizeof(ByteBlock), '?');
            char* to = copy.data();
            ASSERT_EQ(copyUpToStop(text, from, to), stop);
            const auto size = static_cast<std::size_t>(to - copy.data());
            ASSERT_EQ(copy.substr(0, size), text.substr(from, stop - from));
        }
    }
}

TEST(ByteScan, EachOfAllCombinationsOfMarksHasItsBits) {
    for (std::uint32_t bits = 0; bits < 1U << 16U; ++bits) {
        ByteBlock marks{};
        for (std::size_t i = 0; i < sizeof marks; ++i) {
            marks[i] = (bits >> i & 1U) != 0 ? 0x80 : 0x7F;
        }
        ASSERT_EQ(markBits(marks), bits);
        ASSERT_EQ(anyMark(marks), bits != 0);
        ASSERT_EQ(bytesBeforeMark(marks),
                  bits == 0 ? 16U : static_cast<std::size_t>(std::countr_zero(bits)));
    }
}

TEST(ByteScan, ABlockAtTheEndOfATextIsFollowedByZeros) {
    const std::string text = "1234567890abcdefgh";
    for (std::size_t size = 0; size <= text.size(); ++size) {
        const std::string part = text.substr(0, size);
        const ByteBlock block = blockAt(part, 0);
        for (std::size_t i = 0; i < sizeof block; ++i) {
            EXPECT_EQ(block[i], i < size ? static_cast<unsigned char>(text[i]) : 0) << size;
        }
    }
}

TEST(ByteScan, ShortTextsAreLoadedFollowedByZeros) {
    const std::string text = "12345678";
    for (std::size_t count = 0; count <= 8; ++count) {
        ByteWord expected = 0;
        for (std::size_t i = 0; i < count; ++i) {
            expected |= ByteWord{static_cast<unsigned char>(text[i])} << 8 * i;
        }
        // The text ends here: nothing after it may be loaded.
        const std::string part = text.substr(0, count);
        EXPECT_EQ(loadShort(part.data(), count), expected) << count;
    }
}
