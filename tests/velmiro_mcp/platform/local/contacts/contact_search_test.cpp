#include "velmiro_mcp/platform/local/contacts/NameQuery.hpp"

#include <gtest/gtest.h>

#include <initializer_list>

// Which names a query finds.

namespace velmiro::local {
namespace {

bool finds(std::string_view query, std::initializer_list<std::string_view> names) {
    std::string words;
    for (const std::string_view name : names) {
        appendWords(words, name);
    }
    return NameQuery{query}.matches(words);
}

bool finds(std::string_view query, std::string_view name) {
    return finds(query, {name});
}

TEST(NameQuery, FindsTheBeginningsOfWords) {
    EXPECT_TRUE(finds("Anna", "Anna Berg"));
    EXPECT_TRUE(finds("Ann", "Anna Berg"));
    EXPECT_TRUE(finds("B", "Anna Berg"));
    EXPECT_FALSE(finds("nna", "Anna Berg"));
    EXPECT_FALSE(finds("Annab", "Anna Berg"));
    EXPECT_FALSE(finds("Anna", ""));
}

TEST(NameQuery, NeedsAllItsWordsInAnyOrderAcrossNames) {
    EXPECT_TRUE(finds("berg anna", {"Berg", "Anna"}));
    EXPECT_TRUE(finds("  anna \t berg\n", {"Berg", "Anna"}));
    EXPECT_TRUE(finds("anna acme", {"Anna", "Acme Inc."}));
    EXPECT_FALSE(finds("anna bert", {"Berg", "Anna"}));
    EXPECT_TRUE(finds("van der Berg", "Anna van der Berg"));
    EXPECT_TRUE(finds("Berg", "Anna van der Berg"));
}

TEST(NameQuery, ARepeatedWordCountsOnce) {
    EXPECT_TRUE(finds("anna anna", "Anna"));
    EXPECT_TRUE(finds("a a a", "Anna"));
}

TEST(NameQuery, CaseDoesNotCount) {
    EXPECT_TRUE(finds("ANNA", "anna"));
    EXPECT_TRUE(finds("anna", "ANNA"));
    EXPECT_TRUE(finds("ÄÖÜ", "äöü"));
    EXPECT_TRUE(finds("ΟΔΥΣΣΕΥΣ", "Οδυσσεύς"));
    EXPECT_TRUE(finds("иван", "ИВАН"));
}

TEST(NameQuery, DiacriticsDoNotCount) {
    EXPECT_TRUE(finds("zoe", "Zoë"));
    EXPECT_TRUE(finds("Zoë", "Zoe"));
    EXPECT_TRUE(finds("muller", "Müller"));
    EXPECT_TRUE(finds("Nguyen", "Nguyễn"));
    EXPECT_TRUE(finds("lukasz", "Łukasz"));
    EXPECT_TRUE(finds("soren", "Søren"));
    EXPECT_TRUE(finds("dorde", "Đorđe"));
    EXPECT_TRUE(finds("aegir", "Ægir"));
    EXPECT_TRUE(finds("thor", "Þór"));
    EXPECT_TRUE(finds("ελενη", "Ελένη"));
}

TEST(NameQuery, CombiningMarksAreTheSameAsComposedLetters) {
    EXPECT_TRUE(finds("Zoe\u0308", "Zoë"));
    EXPECT_TRUE(finds("Zoë", "Zoe\u0308"));
    EXPECT_TRUE(finds("zoe", "Zo\u0323e\u0308"));
}

TEST(NameQuery, TheFourTurkishLettersAreOne) {
    for (const char* written : {"Işık", "ışık", "IŞIK", "İŞİK", "isik", "ISIK"}) {
        for (const char* sought : {"Işık", "ışık", "IŞIK", "İŞİK", "isik", "ISIK"}) {
            EXPECT_TRUE(finds(sought, written)) << sought << " " << written;
        }
    }
}

TEST(NameQuery, ASharpSIsTwo) {
    EXPECT_TRUE(finds("strasse", "Straße"));
    EXPECT_TRUE(finds("Straße", "STRASSE"));
    EXPECT_TRUE(finds("STRAẞE", "Straße"));
}

TEST(NameQuery, LigaturesAndWideFormsAreTheirLetters) {
    EXPECT_TRUE(finds("fischer", "ﬁscher"));
    EXPECT_TRUE(finds("ﬀ", "ffolkes"));
    EXPECT_TRUE(finds("anna", "ＡＮＮＡ"));
    EXPECT_TRUE(finds("ｔａｎａｋａ", "Tanaka"));
    EXPECT_TRUE(finds("ｶﾞﾙｼｱ", "ガルシア"));
    EXPECT_TRUE(finds("山田　太郎", {"山田", "太郎"}));
}

TEST(NameQuery, AnApostropheOrAHyphenSplitsAWordAndDoesNot) {
    for (const char* name : {"O'Brien", "O’Brien", "OʼBrien"}) {
        for (const char* query : {"O'Brien", "o’brien", "obrien", "brien", "O"}) {
            EXPECT_TRUE(finds(query, name)) << query << " " << name;
        }
    }
    for (const char* query : {"Jean-Luc", "jeanluc", "jean luc", "luc", "JEAN"}) {
        EXPECT_TRUE(finds(query, "Jean-Luc")) << query;
    }
    EXPECT_TRUE(finds("Jean-Luc", "Jean Luc"));
    EXPECT_TRUE(finds("Jean-Luc", "Jeanluc"));
    EXPECT_FALSE(finds("Jean-Pierre", "Jean-Luc"));
}

TEST(NameQuery, SignsBetweenLettersDoNotCount) {
    EXPECT_TRUE(finds("J.R.R. Tolkien", "Tolkien, JRR"));
    EXPECT_TRUE(finds("jrr", "J.R.R. Tolkien"));
    EXPECT_TRUE(finds("(Anna)", "\"Anna\""));
    EXPECT_TRUE(finds("AT&T", "AT & T"));
}

TEST(NameQuery, NamesWithoutBlanksAreFoundByTheirBeginning) {
    EXPECT_TRUE(finds("山田", "山田太郎"));
    EXPECT_TRUE(finds("太郎", {"山田", "太郎"}));
    EXPECT_FALSE(finds("田太", {"山田", "太郎"}));
    EXPECT_TRUE(finds("김", "김철수"));
    EXPECT_FALSE(finds("기", "김철수"));
}

TEST(NameQuery, MarksThatAreLettersCount) {
    EXPECT_TRUE(finds("ガルシア", "ガルシア"));
    EXPECT_FALSE(finds("カルシア", "ガルシア"));
    EXPECT_TRUE(finds("रवि", "रवि कुमार"));
    EXPECT_FALSE(finds("रावी", "रवि कुमार"));
    EXPECT_TRUE(finds("محمد", "مُحَمَّد"));
}

TEST(NameQuery, PointsThatReadersLeaveOutDoNotCount) {
    EXPECT_TRUE(finds("כהן", {"כֹּהֵן", "דָּוִד"}));
    EXPECT_TRUE(finds("דוד", {"כֹּהֵן", "דָּוִד"}));
    EXPECT_TRUE(finds("דָּוִד", "דוד"));
    EXPECT_TRUE(finds("שרה", "\uFB2Aרה")); // the letter with its point, as one character
    EXPECT_TRUE(finds("יד", "יָ֤ד"));
    EXPECT_TRUE(finds("محمد", "محمـــد"));
    EXPECT_TRUE(finds("محمد", "مح\u0610مد"));
    EXPECT_FALSE(finds("כהו", "כֹּהֵן"));
}

TEST(NameQuery, ALetterThatStandsForAnApostropheSplitsAWordAndDoesNot) {
    for (const char* query :
         {"o'tkirov", "otkirov", "Oʻtkirov", "O\u02BCtkirov", "g'afur", "gafur"}) {
        EXPECT_TRUE(finds(query, {"Oʻtkirov", "Gʻafur"})) << query;
    }
    for (const char* query : {"ali", "'ali", "ahmad", "ibn ahmad", "ʿAlī"}) {
        EXPECT_TRUE(finds(query, {"ʿAlī", "Ibn ʾAḥmad"})) << query;
    }
    EXPECT_TRUE(finds("ka'ahumanu", "Kaʻahumanu"));
    EXPECT_TRUE(finds("kaahumanu", "Kaʻahumanu"));
    for (const char* mark : {"\u02B9", "\u02BA", "\u02BD", "\u02C8", "\u02EE"}) {
        EXPECT_TRUE(finds("gurev", "Gur" + std::string{mark} + "ev")) << mark;
    }
}

TEST(NameQuery, DigitsAreSearchedLikeLetters) {
    EXPECT_TRUE(finds("3m", "3M"));
    EXPECT_TRUE(finds("4", "Studio 4711"));
    EXPECT_FALSE(finds("11", "Studio 4711"));
}

TEST(NameQuery, WithoutAnyLetterOrDigitFindsNothing) {
    for (const char* query :
         {"", " ", "!!!", "'", "- -", "…", "🎂", "\u200B", "\u0301", "\uFFFD"}) {
        EXPECT_FALSE(finds(query, {"Anna", "!!!", "🎂", "'", "\u0301"})) << query;
    }
}

TEST(NameQuery, IsQuickAtAnyLength) {
    std::string query;
    for (int count = 0; count < 300'000; ++count) {
        query += "a b c ";
    }
    std::string words;
    appendWords(words, "Anna Berg Cara");
    const NameQuery asked{query};
    for (int card = 0; card < 20'000; ++card) {
        ASSERT_TRUE(asked.matches(words));
    }
    EXPECT_FALSE(finds(std::string(2'000'000, 'x'), "x"));
    EXPECT_TRUE(finds("a" + std::string(2'000'000, '-') + "b", "a b"));
}

} // namespace
} // namespace velmiro::local
