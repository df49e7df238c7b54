#include "osascript/text/Folding.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/text/Characters.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

// What a search takes for equal.

namespace velmiro::osascript {
namespace {

using Pair = std::pair<std::string, std::string>;

TEST(Folding, IgnoresCaseDiacriticsAndCompatibilityForms) {
    const std::vector<Pair> alike{
        {"Straße", "STRASSE"},
        {"İstanbul", "istanbul"},
        {"ışık", "isik"},
        {"ΣΊΣΥΦΟΣ", "σίσυφος"},
        {"e\u0301", "é"},
        {"café", "CAFE"},
        {"ﬁn", "FIN"},
        {"Ｆｕｌｌ", "full"},
        {"Ёлка", "елка"},
        {"שָׁלוֹם", "שלום"},
        {"مُحَمَّد", "محمد"},
        {"Ŀ", "L·"},
        {"한", "\u1112\u1161\u11AB"},
        {"が", "か\u3099"},
        {"ガ", "ｶﾞ"},
        {"½", "1⁄2"},
        {"a\u0301\u0323", "a\u0323\u0301"},
    };
    for (const auto& [one, other] : alike) {
        EXPECT_EQ(folded(one), folded(other)) << one;
    }
}

TEST(Folding, KeepsWhatMakesAnotherWord) {
    const std::vector<Pair> different{
        {"दिल", "दल"}, {"が", "か"}, {"o", "0"}, {"ø", "o"}, {"한", "하"}, {"кот", "kot"},
    };
    for (const auto& [one, other] : different) {
        EXPECT_NE(folded(one), folded(other)) << one;
    }
}

TEST(Folding, ShowsItsForm) {
    EXPECT_EQ(folded(""), "");
    EXPECT_EQ(folded("plain [ASCII] {text}~"), "PLAIN [ASCII] {TEXT}~");
    EXPECT_EQ(folded("Größe"), "GROSSE");
    EXPECT_EQ(folded("が\u0301 z"), "が Z");
    EXPECT_EQ(folded("ﷺ"), "صلى الله عليه وسلم");
    EXPECT_EQ(folded(std::string{"a\0b", 3}), (std::string{"A\0B", 3}));
}

/// Makes texts of characters that compose, decompose, expand and vanish.
class Texts {
public:
    std::string next() {
        static const std::vector<std::string> pieces{
            "a",      "Z",      "ß",      "ẞ",          "İ",          "ı",      "i",      "\u0307",
            "é",      "e",      "\u0301", "\u0323",     "\u0345",     "ﬁ",      "ŉ",      "ǰ",
            "ΐ",      "ς",      "ᾳ",      "か",         "\u3099",     "ガ",     "ｶ",      "ﾞ",
            "한",     "하",     "\u11AB", "\u1112",     "\u1161",     "क",      "\u093C", "\u094D",
            "\u093F", "\u09C7", "\u09BE", "ড়",          "Å",          "K",      "ſ",      "①",
            "½",      "ﷺ",      "´",      "…",          "Ｆ",         "（",     "\u00A0", "\u200D",
            "\uFE0F", "👩",     "𝒜",      "\U0001109B", "\U000110BA", "\uFFFD", " ",      "-",
            "\n",     "&",      "7",      "漢",         "豈",         "Ω",      "\u0E33", "\u0F73",
            "\u0F71", "\u0653", "ا",      "أ",          "שׁ",          "\u05BC", "Ŀ",      "Ǆ",
        };
        std::string text;
        for (auto count = random_() % 9; count > 0; --count) {
            text += pieces[random_() % pieces.size()];
        }
        return text;
    }

private:
    std::mt19937 random_{20261122}; // the same texts in every run
};

TEST(Folding, IsItsOwnFolding) {
    Texts texts;
    for (int round = 0; round < 50'000; ++round) {
        const std::string once = folded(texts.next());
        ASSERT_TRUE(MCPStdio::isValidUTF8(once));
        ASSERT_EQ(folded(once), once);
    }
}

std::u32string outlineOfCharacters(const std::string& text) {
    std::u32string outline;
    for (std::size_t at = 0; at < text.size();) {
        outline += outlineOfCharacter(nextCharacter(text, at));
    }
    return outline;
}

TEST(Outline, OfAFoldedTextIsThatOfItsCharacters) {
    Texts texts;
    for (int round = 0; round < 50'000; ++round) {
        const std::string text = texts.next();
        ASSERT_EQ(outlineOfFolded(folded(text)), outlineOfCharacters(text)) << text;
    }
}

TEST(Outline, OfAPartIsAPartOfTheOutline) {
    Texts texts;
    int found = 0;
    for (int round = 0; round < 50'000; ++round) {
        const std::string text = texts.next();
        const std::string part = texts.next();
        const std::string whole = folded(texts.next() + part + text);
        const std::string wanted = folded(part);
        if (whole.find(wanted) != std::string::npos) {
            ++found;
            ASSERT_NE(outlineOfFolded(whole).find(outlineOfFolded(wanted)), std::u32string::npos)
                << whole << " / " << wanted;
        }
    }
    EXPECT_GT(found, 10'000);
}

TEST(Outline, LeavesOutMarksAndPunctuation) {
    EXPECT_EQ(outlineOfFolded(folded("É, b*7*")), U"EB7");
    EXPECT_EQ(outlineOfCharacter(U'ß'), U"SS");
    EXPECT_EQ(outlineOfCharacter(U'が'), U"か");
    EXPECT_EQ(outlineOfCharacter(U'\u0301'), U"");
    EXPECT_EQ(outlineOfCharacter(U'（'), U"");
    EXPECT_EQ(outlineOfCharacter(U'한'), U"\u1112\u1161\u11AB");
}

} // namespace
} // namespace velmiro::osascript
