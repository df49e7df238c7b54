#include "MCPStdio/UTF8.hpp"

#include <gtest/gtest.h>

using namespace MCPStdio;

namespace {
constexpr const char* replacement = "\xEF\xBF\xBD";

std::string replaced(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += replacement;
    }
    return text;
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

TEST(UTF8, EachLongestBeginningOfASequenceBecomesOneReplacement) {
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
    EXPECT_EQ(repairUTF8("\xF4\x90\x80\x80"), replaced(4)); // beyond U+10FFFF
    EXPECT_EQ(repairUTF8("caf\xE9"), "caf" + replaced(1));  // Latin-1
}

TEST(UTF8, TheFirstBadByteIsFoundWhereverItStands) {
    for (std::size_t length = 1; length < 100; ++length) {
        std::string text(length, 'x');
        text[length - 1] = '\xFF';
        ASSERT_EQ(findInvalidUTF8(text), length - 1);
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
