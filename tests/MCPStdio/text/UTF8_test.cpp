#include "MCPStdio/text/UTF8.hpp"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <random>
#include <string>
#include <string_view>

using namespace MCPStdio;
using namespace std::string_view_literals;

namespace {
constexpr const char* replacement = "\xEF\xBF\xBD";

std::string replaced(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += replacement;
    }
    return text;
}

/// Finds the first ill-formed sequence by definition: decodes each one and checks its value.
std::size_t firstIllFormed(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const int ones = std::countl_one(lead);
        const std::size_t length = ones == 0 ? 1 : static_cast<std::size_t>(ones);
        if (ones == 1 || ones > 4 || text.size() - at < length) {
            return at;
        }
        char32_t scalar = lead & (0xFFU >> (ones + 1));
        for (const char next : text.substr(at + 1, length - 1)) {
            if ((static_cast<unsigned char>(next) & 0xC0U) != 0x80) {
                return at;
            }
            scalar = scalar << 6U | (static_cast<unsigned char>(next) & 0x3FU);
        }
        const bool surrogate = scalar >= 0xD800 && scalar <= 0xDFFF;
        const bool overlong = (length == 2 && scalar < 0x80) || (length == 3 && scalar < 0x800) ||
                              (length == 4 && scalar < 0x10000);
        if (surrogate || overlong || scalar > 0x10FFFF) {
            return at;
        }
        at += length;
    }
    return text.size();
}
} // namespace

TEST(UTF8, EveryScalarValueIsWellFormed) {
    for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
        if (scalar >= 0xD800 && scalar <= 0xDFFF) {
            continue;
        }
        std::string text;
        appendUTF8(text, scalar);
        ASSERT_TRUE(isValidUTF8(text)) << std::hex << static_cast<unsigned>(scalar);
    }
}

TEST(UTF8, WellFormedTextIsLeftAlone) {
    const std::string text = "plain, é, 語, 😀, and then a lot more of plain text behind all that";
    EXPECT_EQ(repairUTF8(text), text);
    EXPECT_EQ(repairUTF8(""), "");
}

TEST(UTF8, EachLongestPrefixOfASequenceBecomesOneReplacement) {
    EXPECT_EQ(repairUTF8("a\xFFz"), "a" + replaced(1) + "z");
    EXPECT_EQ(repairUTF8("\x80\x80"), replaced(2));
    EXPECT_EQ(repairUTF8("\xE2\x82"), replaced(1)); // a sequence cut short
    EXPECT_EQ(repairUTF8("\xE2\x82"
                         "a"),
              replaced(1) + "a");
    EXPECT_EQ(repairUTF8("\xF0\x9F\x98"), replaced(1));
    EXPECT_EQ(repairUTF8("\xC0\xAF"), replaced(2));         // overlong
    EXPECT_EQ(repairUTF8("\xE0\x80\xAF"), replaced(3));     // overlong
    EXPECT_EQ(repairUTF8("\xED\xA0\x80"), replaced(3));     // a surrogate
    EXPECT_EQ(repairUTF8("\xF4\x90\x80\x80"), replaced(4)); // above U+10FFFF
    EXPECT_EQ(repairUTF8("caf\xE9"), "caf" + replaced(1));  // Latin-1
}

TEST(UTF8, TheFirstBadByteIsFoundAtEveryPosition) {
    for (std::size_t length = 1; length < 100; ++length) {
        std::string text(length, 'x');
        text[length - 1] = '\xFF';
        ASSERT_EQ(findInvalidUTF8(text), length - 1);
    }
}

TEST(UTF8, FourBytesAreJudgedAlikeAtEveryPosition) {
    // All combinations of the bytes at which the rules change, among sequences of every length, at
    // both ends of the text and across the boundaries of the blocks that are checked in one step.
    constexpr std::string_view bytes{"\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF"
                                     "\xE0\xE1\xED\xEE\xEF\xF0\xF1\xF4\xF5\xFF"};
    const std::size_t count = bytes.size() * bytes.size() * bytes.size() * bytes.size();
    const std::string two =
        "語語語語語語語語語語語語語語語語語語語語語語語語"; // longer than one step
    for (const std::size_t before : {0U, 13U, 30U, 61U, 62U, 63U, 64U, 66U, 94U}) {
        for (const std::string_view suffix :
             {std::string_view{""}, "plain"sv, std::string_view{two}}) {
            std::string text = before % 2 == 0 ? "" : ".";
            while (text.size() < before) {
                text += text.size() % 4 == 2 ? "é" : "xy";
            }
            const std::size_t at = text.size();
            text.append(4, '?').append(suffix);
            for (std::size_t number = 0; number < count; ++number) {
                std::size_t rest = number;
                for (std::size_t i = 0; i < 4; ++i, rest /= bytes.size()) {
                    text[at + i] = bytes[rest % bytes.size()];
                }
                ASSERT_EQ(findInvalidUTF8(text), firstIllFormed(text))
                    << testing::PrintToString(text);
            }
        }
    }
}

TEST(UTF8, AChangedByteIsFoundInTextsOfAllLengths) {
    std::mt19937 random{11};
    constexpr std::array<std::string_view, 6> pieces{"x",   "sixteen letters,", "é", "“”", "😀",
                                                     "한글"};
    for (int round = 0; round < 100'000; ++round) {
        std::string text;
        for (std::size_t count = random() % 60; count > 0; --count) {
            text += pieces[random() % pieces.size()];
        }
        ASSERT_TRUE(isValidUTF8(text)) << text;
        if (!text.empty()) {
            text[random() % text.size()] = static_cast<char>(random() % 256);
            text.resize(text.size() - random() % 3 % text.size());
            ASSERT_EQ(findInvalidUTF8(text), firstIllFormed(text)) << testing::PrintToString(text);
        }
    }
}

TEST(UTF8, ARepairedTextIsWellFormedWhateverItWas) {
    unsigned state = 1;
    for (int round = 0; round < 20'000; ++round) {
        std::string text;
        for (int i = 0; i < 12; ++i) {
            state = state * 1664525 + 1013904223;
            text.push_back(static_cast<char>(state >> 24U));
        }
        ASSERT_TRUE(isValidUTF8(repairUTF8(text)));
    }
}
