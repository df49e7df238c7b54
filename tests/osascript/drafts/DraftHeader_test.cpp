#include "osascript/drafts/DraftHeader.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gmime/gmime.h>

// The header of a draft is read as it was given. GMime reads it here, as one of many readers.

namespace velmiro::osascript {
namespace {

std::string decoded(const std::string& field) {
    g_mime_init();
    char* const unfolded = g_mime_utils_header_unfold(field.c_str());
    char* const text = g_mime_utils_header_decode_text(nullptr, unfolded);
    std::string result = text;
    g_free(text);
    g_free(unfolded);
    return result;
}

std::size_t longestLine(const std::string& lines) {
    std::size_t longest = 0;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = lines.find('\n', begin);
        longest = std::max(longest, end - begin);
        begin = end + 1;
    }
    return longest;
}

TEST(DraftHeader, ControlCharactersAndLineEndsBecomeOneBlankARun) {
    EXPECT_EQ(singleLine("a\r\nBcc: b"), "a Bcc: b");
    EXPECT_EQ(singleLine("\ta\n\n\x1b\x7f"
                         "b\r"),
              " a b ");
    EXPECT_EQ(singleLine("a\u0080b\u009fc\u0085\u2028\u2029d"), "a b c d");
    EXPECT_EQ(singleLine(std::string{"a\0b", 3}), "a b");
}

TEST(DraftHeader, OtherCharactersStay) {
    for (const char* text :
         {"", "plain", " two  blanks ", "\u00a0\u00bf\u2027\u202f\ufeff", "ü漢😀"}) {
        EXPECT_EQ(singleLine(text), text);
    }
    EXPECT_EQ(singleLine("cut \xC2"), "cut \xC2");
    EXPECT_EQ(singleLine("cut \xE2\x80"), "cut \xE2\x80");
}

TEST(DraftHeader, AnOrdinarySubjectStaysReadable) {
    for (const char* text : {"", "Tea", "Re: Fwd: [list] (x)", "a \"b\" \\ c", "10 % = 3?"}) {
        EXPECT_EQ(unstructured(text), text);
    }
}

TEST(DraftHeader, WhatSomeReaderWouldChangeIsEncodedWhole) {
    const std::vector<std::string> texts{"two  blanks",
                                         " leading",
                                         "trailing ",
                                         "=?utf-8?Q?not_decoded?=",
                                         "a=?b",
                                         "Grüße 🌍",
                                         "a ü  b",
                                         std::string(65, 'x'),
                                         std::string(2000, 'x') + " " + std::string(900, ' ')};
    for (const std::string& text : texts) {
        const std::string value = unstructured(text);
        EXPECT_TRUE(value.starts_with("=?utf-8?Q?")) << value;
        EXPECT_EQ(decoded(folded("Subject", value)), text);
        EXPECT_LE(longestLine(folded("Subject", value)), 76U);
    }
}

TEST(DraftHeader, EncodedWordsHoldWholeCharacters) {
    // Each shift puts the border of a word at another byte of a character.
    for (const char* character : {"ü", "漢", "😀"}) {
        for (std::size_t shift = 0; shift < 4; ++shift) {
            std::string text(shift, 'x');
            for (int count = 0; count < 40; ++count) {
                text += character;
            }
            EXPECT_EQ(decoded(unstructured(text)), text);
            const std::string value = unstructured(text);
            for (std::size_t begin = 0; begin != std::string::npos;) {
                const std::size_t end = value.find(' ', begin);
                const std::string word = decoded(value.substr(begin, end - begin));
                EXPECT_EQ(word.find("\ufffd"), std::string::npos);
                EXPECT_TRUE(g_utf8_validate(word.data(), -1, nullptr)) << word;
                begin = end == std::string::npos ? end : end + 1;
            }
        }
    }
}

TEST(DraftHeader, BytesThatAreNotUTF8AreEncodedToo) {
    EXPECT_EQ(unstructured("\xff"), "=?utf-8?Q?=FF?=");
    EXPECT_EQ(unstructured(std::string(100, '\x80')).find(std::string(1, '\x80')),
              std::string::npos);
}

TEST(DraftHeader, ANameIsQuotedOrEncoded) {
    EXPECT_EQ(phrase("Ana"), R"("Ana")");
    EXPECT_EQ(phrase(R"(Berg, "A" \)"), R"("Berg, \"A\" \\")");
    EXPECT_EQ(phrase("Ünal, Ana"), "=?utf-8?Q?=C3=9Cnal=2C_Ana?=");
    EXPECT_EQ(phrase("=?utf-8?Q?x?="), "=?utf-8?Q?=3D=3Futf=2D8=3FQ=3Fx=3F=3D?=");
    EXPECT_EQ(phrase(""), R"("")");
}

TEST(DraftHeader, LinesAreFoldedAtLoneBlanksOnly) {
    EXPECT_EQ(folded("To", "a@example.org"), " a@example.org\n");
    EXPECT_EQ(folded("Subject", ""), " \n");
    std::string words = "word";
    for (int count = 0; count < 100; ++count) {
        words += " word";
    }
    const std::string lines = folded("Subject", words);
    EXPECT_EQ(longestLine("Subject:" + lines), 75U);
    std::string unfolded = lines.substr(1, lines.size() - 2);
    std::erase(unfolded, '\n');
    EXPECT_EQ(unfolded, words);

    const std::string blanks = "a" + std::string(200, ' ') + "b";
    EXPECT_EQ(folded("To", blanks), " " + blanks + "\n");
}

TEST(DraftHeader, AnAddressLongerThanALineIsNotCut) {
    const std::string address = std::string(100, 'a') + "@example.org";
    EXPECT_EQ(folded("To", address + ", b@c"), " " + address + ",\n b@c\n");
}

TEST(DraftHeader, AWordNearTheLimitOfALineCannotBeFolded) {
    EXPECT_TRUE(isFoldable(std::string(900, 'x') + " " + std::string(900, 'x')));
    EXPECT_FALSE(isFoldable(std::string(901, 'x')));
    EXPECT_FALSE(isFoldable("x" + std::string(900, ' ')));
}

} // namespace
} // namespace velmiro::osascript
