#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"
#include "velmiro_mcp/ports/LocalizedText.hpp"

#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/platform/local/libraries/Locale.hpp"

#include <gtest/gtest.h>

#include <filesystem>

// Characters, names and dates as the user sees them.

namespace velmiro::local {
namespace {

/// Sets the user's language while this object lives.
class LanguageGuard {
public:
    explicit LanguageGuard(const char* language) : language_{"LANG", language} {}

private:
    ScopedVariable all_{"LC_ALL", nullptr};
    ScopedVariable time_{"LC_TIME", nullptr};
    ScopedVariable language_;
};

TEST(LocalText, FirstCharactersAreThoseThatTheUserSees) {
    EXPECT_EQ(firstCharacters("", 5), "");
    EXPECT_EQ(firstCharacters("abc", 0), "");
    EXPECT_EQ(firstCharacters("abc", 2), "ab");
    EXPECT_EQ(firstCharacters("abc", 3), "abc");
    EXPECT_EQ(firstCharacters("abc", 4), "abc");
    EXPECT_EQ(firstCharacters("äöü", 2), "äö");
    EXPECT_EQ(firstCharacters("👩‍👩‍👧‍👦👍🏽🇩🇪x", 1),
              "👩‍👩‍👧‍👦");
    EXPECT_EQ(firstCharacters("👩‍👩‍👧‍👦👍🏽🇩🇪x", 3),
              "👩‍👩‍👧‍👦👍🏽🇩🇪");
    EXPECT_EQ(firstCharacters("ae\u0301b", 2), "ae\u0301");
    EXPECT_EQ(firstCharacters("a\r\nb", 2), "a\r\n");
    EXPECT_EQ(firstCharacters("ab\u0301", 1), "a");
}

TEST(LocalText, ACombiningMarkAfterTheLastCharacterBelongsToIt) {
    EXPECT_EQ(firstCharacters("ab\u0301c", 2), "ab\u0301");
    EXPECT_EQ(firstCharacters(std::string(500, 'x') + "\u0301", 500),
              std::string(500, 'x') + "\u0301");
    EXPECT_EQ(firstCharacters(std::string(501, 'x') + "\u0301", 500), std::string(500, 'x'));
}

TEST(LocalText, ManyCharactersOfSeveralBytesAreCounted) {
    std::string text;
    for (int count = 0; count < 600; ++count) {
        text += "é";
    }
    EXPECT_EQ(firstCharacters(text, 500).size(), 1000U);
    EXPECT_EQ(firstCharacters(text, 600), text);
}

TEST(LocalText, NamesThatDifferInMoreThanCaseAreNotTheSame) {
    EXPECT_FALSE(equalIgnoringCase("Work", "Wörk"));
    EXPECT_FALSE(equalIgnoringCase("Work", "Work "));
    EXPECT_FALSE(equalIgnoringCase("Work", "W-ork"));
    EXPECT_FALSE(equalIgnoringCase("Work", "Wor"));
    EXPECT_FALSE(equalIgnoringCase("", std::string_view{"\0", 1}));
    EXPECT_FALSE(equalIgnoringCase("", "\u200B"));
}

TEST(LocalText, TheLetterIFollowsTheUsersLanguage) {
    {
        const LanguageGuard turkish{"tr_TR.UTF-8"};
        EXPECT_TRUE(equalIgnoringCase("İş", "iş"));
        EXPECT_FALSE(equalIgnoringCase("TITLE", "title"));
        EXPECT_FALSE(equalIgnoringCase("I", "i"));
        EXPECT_FALSE(equalIgnoringCase("Iota", "ITEM"));
        EXPECT_TRUE(equalIgnoringCase("iDEA", "idea"));
    }
    const LanguageGuard english{"en_US.UTF-8"};
    EXPECT_TRUE(equalIgnoringCase("TITLE", "title"));
    EXPECT_TRUE(equalIgnoringCase("I", "i"));
    EXPECT_TRUE(equalIgnoringCase("\u212A", "k")); // the sign of Kelvin
}

TEST(LocalText, ATextThatGrowsInLowercaseIsComparedWhole) {
    EXPECT_TRUE(equalIgnoringCase("İİİ", "i\u0307i\u0307i\u0307"));
    EXPECT_FALSE(equalIgnoringCase("İİİ", "i\u0307i\u0307i"));
}

TEST(LocalText, TheLanguageIsTheLocaleForTimes) {
    const LanguageGuard german{"de_DE.UTF-8@euro"};
    EXPECT_EQ(userLocale(), "de_DE");
    const ScopedVariable time{"LC_TIME", "fr_FR.UTF-8"};
    EXPECT_EQ(userLocale(), "fr_FR");
    const ScopedVariable all{"LC_ALL", "nl_NL"};
    EXPECT_EQ(userLocale(), "nl_NL");
}

TEST(LocalText, OnlyAWellFormedLanguageReachesTheLibrary) {
    for (const char* language : {"de", "DE", "yue", "de_DE", "de-DE", "sr_Latn", "sr_Latn_RS",
                                 "es_419", "en_GB.UTF-8@x"}) {
        const LanguageGuard guard{language};
        const std::string given = language;
        EXPECT_EQ(userLocale(), given.substr(0, given.find('.')));
    }
    for (const std::string& language :
         {std::string{"English (United States)"}, std::string{"abcdefghijkl"},
          std::string{"german"}, std::string{"d"}, std::string{"d3"}, std::string{"de_"},
          std::string{"_DE"}, std::string{"de__DE"}, std::string{"de_D"}, std::string{"de_DEU"},
          std::string{"de_DE_1996"}, std::string{"de_DE_"}, std::string{"de_Latnx_DE"},
          std::string{"en_US_"} + std::string(300, 'P'), std::string{"en-u-ca-buddhist"},
          std::string{"x-y"}, std::string{" "}, std::string{"\xFF\xFE"}, std::string{"..."}}) {
        const LanguageGuard guard{language.c_str()};
        EXPECT_EQ(userLocale(), "en_GB") << language;
    }
}

TEST(LocalText, WithoutALanguageDatesAreEnglish) {
    const ScopedVariable zone{"TZ", "UTC"};
    for (const char* language : {static_cast<const char*>(nullptr), "", "C", "C.UTF-8", "POSIX"}) {
        const LanguageGuard guard{language};
        const std::string text = localizedDateTime(at("2026-10-14T15:00:00Z"));
        EXPECT_NE(text.find("14 Oct 2026"), std::string::npos) << text;
        EXPECT_NE(text.find("15:00"), std::string::npos) << text;
    }
}

TEST(LocalText, ADateHasNoTime) {
    const ScopedVariable zone{"TZ", "UTC"};
    const LanguageGuard language{"en_GB.UTF-8"};
    const std::string text = localizedDate(at("2026-10-14T15:37:00Z"));
    EXPECT_NE(text.find("2026"), std::string::npos) << text;
    EXPECT_EQ(text.find("37"), std::string::npos) << text;
}

TEST(LocalText, DatesAreInTheUsersLanguage) {
    const ScopedVariable zone{"TZ", "UTC"};
    const auto textIn = [](const char* language) {
        const LanguageGuard guard{language};
        return localizedDateTime(at("2026-10-14T15:00:00Z"));
    };
    EXPECT_NE(textIn("de_DE.UTF-8"), textIn("en_US.UTF-8"));
    EXPECT_NE(textIn("ja_JP.UTF-8"), textIn("en_US.UTF-8"));
    EXPECT_FALSE(textIn("xx_YY").empty());
    EXPECT_FALSE(textIn("\x01/../..").empty());
}

TEST(LocalText, TheZoneIsReadAtEachCall) {
    const LanguageGuard language{"en_GB.UTF-8"};
    const Instant noon = at("2026-07-14T12:00:00Z");
    const auto timeIn = [&](const char* name) {
        const ScopedVariable zone{"TZ", name};
        const std::string text = localizedDateTime(noon);
        return text.substr(text.size() - 5);
    };
    EXPECT_EQ(timeIn("Europe/Berlin"), "14:00");
    EXPECT_EQ(timeIn("Africa/Cairo"), "15:00"); // ICU's own data lack its summer time
    EXPECT_EQ(timeIn("Pacific/Apia"), "01:00");
    EXPECT_EQ(timeIn("America/St_Johns"), "09:30");
    EXPECT_EQ(timeIn("<-03>3"), "09:00");
}

TEST(LocalText, AZoneFileWithoutANameIsAZone) {
    const TemporaryFolder folder;
    std::filesystem::copy_file("/usr/share/zoneinfo/Asia/Tokyo", folder / "localtime");
    const ScopedVariable zone{"TZ", (":" + folder / "localtime").c_str()};
    const LanguageGuard language{"en_GB.UTF-8"};
    EXPECT_NE(localizedDateTime(at("2026-07-14T12:00:00Z")).find("21:00"), std::string::npos);
}

} // namespace
} // namespace velmiro::local
