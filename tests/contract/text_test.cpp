// The contract of every platform: characters, names and dates as the user sees them.

#include "tests/contract/PlatformUnderTest.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"
#include "velmiro_mcp/ports/LocalizedText.hpp"

using namespace velmiro;
using velmiro::support::ScopedVariable;
using velmiro::test::Ability;
using velmiro::test::whyNot;

namespace {

class TextContract : public test::PlatformTest {};

} // namespace

TEST_F(TextContract, FirstCharactersAreCountedAsTheUserSeesThem) {
    EXPECT_EQ(firstCharacters("", 5), "");
    EXPECT_EQ(firstCharacters("abc", 0), "");
    EXPECT_EQ(firstCharacters("abc", 2), "ab");
    EXPECT_EQ(firstCharacters("abc", 3), "abc");
    EXPECT_EQ(firstCharacters("abc", 4), "abc");
    EXPECT_EQ(firstCharacters("äöü", 2), "äö");
    EXPECT_EQ(firstCharacters("€😀x", 2), "€😀");
    EXPECT_EQ(firstCharacters("€😀", 2), "€😀");
}

TEST_F(TextContract, CharactersAreNotBytesAlsoInALongText) {
    std::string text;
    for (int count = 0; count < 600; ++count) {
        text += "é";
    }
    EXPECT_EQ(firstCharacters(text, 500).size(), 1000U);
    EXPECT_EQ(firstCharacters(text, 600), text);
}

TEST_F(TextContract, ACombiningMarkBelongsToItsLetter) {
    EXPECT_EQ(firstCharacters("ae\u0301b", 2), "ae\u0301");
    EXPECT_EQ(firstCharacters("ab\u0301", 1), "a");
    EXPECT_EQ(firstCharacters(std::string(500, 'x') + "\u0301", 500),
              std::string(500, 'x') + "\u0301");
    EXPECT_EQ(firstCharacters(std::string(501, 'x') + "\u0301", 500), std::string(500, 'x'));
}

TEST_F(TextContract, CRLFIsOneCharacter) {
    EXPECT_EQ(firstCharacters("a\r\nb", 2), "a\r\n");
    EXPECT_EQ(firstCharacters("a\r\nb", 3), "a\r\nb");
    EXPECT_EQ(firstCharacters("\r\r\n", 1), "\r");
    EXPECT_EQ(firstCharacters("a\n\r", 2), "a\n");
}

TEST_F(TextContract, ANullCharacterIsACharacterLikeAnyOther) {
    EXPECT_EQ(firstCharacters(std::string_view{"a\0bc", 4}, 3), std::string_view("a\0b", 3));
}

TEST_F(TextContract, JoinedEmojiAreOneCharacter) {
    SKIP_UNLESS_ABLE(Ability::charactersOfEmoji);
    EXPECT_EQ(firstCharacters("👩‍👩‍👧‍👦👍🏽🇩🇪x", 1),
              "👩‍👩‍👧‍👦");
    EXPECT_EQ(firstCharacters("👩‍👩‍👧‍👦👍🏽🇩🇪x", 3),
              "👩‍👩‍👧‍👦👍🏽🇩🇪");
}

TEST_F(TextContract, NamesAreTheSameInAnyCase) {
    EXPECT_TRUE(equalIgnoringCase("Work", "wORK"));
    EXPECT_TRUE(equalIgnoringCase("", ""));
    EXPECT_TRUE(equalIgnoringCase("ÄÖÜ – é", "äöü – É"));
    EXPECT_TRUE(equalIgnoringCase("STRASSE", "straße"));
    EXPECT_TRUE(equalIgnoringCase("e\u0301te\u0301", "ÉTÉ"));
    EXPECT_TRUE(equalIgnoringCase("Привет", "ПРИВЕТ"));
}

TEST_F(TextContract, NamesThatDifferInMoreThanCaseAreNotTheSame) {
    EXPECT_FALSE(equalIgnoringCase("Work", "Work "));
    EXPECT_FALSE(equalIgnoringCase("Work", "W-ork"));
    EXPECT_FALSE(equalIgnoringCase("Work", "Wor"));
    EXPECT_FALSE(equalIgnoringCase("", "x"));
}

TEST_F(TextContract, NamesThatDifferInAnAccentAreNotTheSame) {
    SKIP_UNLESS_ABLE(Ability::accentsInNames);
    EXPECT_FALSE(equalIgnoringCase("Work", "Wörk"));
}

TEST_F(TextContract, ADateIsWrittenInTheUsersLanguage) {
    EXPECT_EQ(localizedDate(at("2026-10-14T15:00")), "14 Oct 2026");
    EXPECT_EQ(localizedDateTime(at("2026-10-14T15:00")), "14 Oct 2026, 15:00");
}

TEST_F(TextContract, ADateIsShownInTheUsersCurrentZone) {
    EXPECT_EQ(localizedDateTime(at("2026-10-14T22:30:00Z")), "15 Oct 2026, 00:30");
    EXPECT_EQ(localizedDateTime(at("2026-12-14T22:30:00Z")), "14 Dec 2026, 23:30");
    const ScopedVariable moved{"TZ", "Asia/Kathmandu"};
    EXPECT_EQ(localizedDateTime(at("2026-10-14T22:30:00Z")), "15 Oct 2026, 04:15");
}
