#include "approval_host/question/VisibleText.hpp"

#include "MCPStdio/text/UTF8.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace velmiro::host {
namespace {

std::string shown(std::string_view text) {
    return visibleText(text, 500);
}

std::string utf8(char32_t scalar) {
    std::string text;
    MCPStdio::appendUTF8(text, scalar);
    return text;
}

TEST(VisibleText, LeavesOrdinaryTextAsItIs) {
    for (const std::string_view text :
         {"", "Dentist — 14 Oct 2026, 15:00", "Größe, naïve, Ελλάδα, Москва", "東京 서울 ไทย",
          "שלום عليكم", R"(C:\notes "x" 'y')", "¿✓ € ½ …"}) {
        EXPECT_EQ(shown(text), text);
    }
}

TEST(VisibleText, ShowsControlCharactersAsTheirPictures) {
    EXPECT_EQ(shown(std::string_view{"a\0b", 3}), "a␀b");
    EXPECT_EQ(shown("a\tb\nc\rd"), "a␉b␊c␍d");
    EXPECT_EQ(shown("\033[2J\033[1;1H"), "␛[2J␛[1;1H");
    EXPECT_EQ(shown("\b\a\x7F"), "␈␇␡");
}

TEST(VisibleText, ShowsTheSecondControlSetByNumber) {
    EXPECT_EQ(shown("\u0085\u009B31m"), "\\u{85}\\u{9B}31m");
}

TEST(VisibleText, ShowsDirectionControlsByNumber) {
    for (const char32_t scalar :
         std::u32string_view{U"\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E"
                             U"\u2066\u2067\u2068\u2069"}) {
        const std::string text = shown('a' + utf8(scalar) + 'b');
        EXPECT_EQ(text.substr(0, 4), "a\\u{") << std::hex << static_cast<unsigned>(scalar);
    }
    EXPECT_EQ(shown("pay \u202E001\u202C"), "pay \\u{202E}001\\u{202C}");
}

TEST(VisibleText, ShowsLineSeparatorsByNumber) {
    EXPECT_EQ(shown("a\u2028b\u2029c"), "a\\u{2028}b\\u{2029}c");
}

TEST(VisibleText, ShowsWhatCannotBeSeenByNumber) {
    EXPECT_EQ(shown("a\u200Bb\u2060c\uFEFFd\u00ADe"), "a\\u{200B}b\\u{2060}c\\u{FEFF}d\\u{AD}e");
    EXPECT_EQ(shown("x\u3164y\u2800z\u115F\u034F"), "x\\u{3164}y\\u{2800}z\\u{115F}\\u{34F}");
    EXPECT_EQ(shown("\U000E0041\U000E007F"), "\\u{E0041}\\u{E007F}");
    EXPECT_EQ(shown("\uE000\uFFFE\U0010FFFF\U000F0000"), "\\u{E000}\\u{FFFE}\\u{10FFFF}\\u{F0000}");
}

TEST(VisibleText, KeepsWhatEmojiAndScriptsNeed) {
    for (const std::string_view text : {
             "👨‍👩‍👧‍👦 🏳️‍🌈 ❤️‍🔥 👩🏽‍⚕️", // joiners
             "1️⃣ #️⃣ ©️",                      // keycaps, emoji form
             "می\u200Cخواهم",              // Persian
             "क्\u200Dष",                   // Devanagari
             "e\u0301 a\u0302\u0301 한글", // composed by marks
         }) {
        EXPECT_EQ(shown(text), text);
    }
}

TEST(VisibleText, ShowsJoinersThatOnlyHide) {
    EXPECT_EQ(shown("pay\u200Dpal\u200C"), "pay\\u{200D}pal\\u{200C}");
    EXPECT_EQ(shown("👩\u200D\u200D👩"), "👩\\u{200D}\\u{200D}👩");
    EXPECT_EQ(shown("👩\u200D"), "👩\\u{200D}");
    EXPECT_EQ(shown("\u200D👩"), "\\u{200D}👩");
    EXPECT_EQ(shown("a\uFE0F❤\uFE0F\uFE0F"), "a\\u{FE0F}❤\uFE0F\\u{FE0F}");
}

TEST(VisibleText, KeepsFourMarksOnACharacterAndNumbersTheRest) {
    std::string text = "a";
    for (int count = 0; count < 6; ++count) {
        text += "\u0301";
    }
    EXPECT_EQ(shown(text + "b\u0301"), "a\u0301\u0301\u0301\u0301\\u{301}\\u{301}b\u0301");
}

TEST(VisibleText, LetsNoMarkTouchWhatIsNotTheTexts) {
    EXPECT_EQ(shown("\u0336x"), "\\u{336}x");
    EXPECT_EQ(shown("\n\u0336"), "␊\\u{336}");
    EXPECT_EQ(shown(utf8(0x202E) + "\u0336"), "\\u{202E}\\u{336}");
}

TEST(VisibleText, RepairsBrokenUTF8) {
    EXPECT_EQ(shown("a\xFFz\xC3"), "a\uFFFDz\uFFFD");
}

TEST(VisibleText, HoldsNoDangerousCharacterWhateverCharacterIsGiven) {
    const std::set<char32_t> dangerous{0x061C, 0x200B, 0x200C, 0x200D, 0x200E, 0x200F, 0x2028,
                                       0x2029, 0x202A, 0x202B, 0x202C, 0x202D, 0x202E, 0x2060,
                                       0x2066, 0x2067, 0x2068, 0x2069, 0xFEFF};
    int escaped = 0;
    for (char32_t scalar = 0; scalar <= 0x10FFFF; ++scalar) {
        if (scalar >= 0xD800 && scalar <= 0xDFFF) {
            continue;
        }
        const bool isControl = scalar < 0x20 || (scalar >= 0x7F && scalar <= 0x9F);
        const bool isTag = scalar >= 0xE0000 && scalar <= 0xE007F;
        const std::string given = utf8(scalar);
        const bool isKept = shown('a' + given + 'b') == 'a' + given + 'b';
        if (isControl || isTag || dangerous.contains(scalar)) {
            ASSERT_FALSE(isKept) << std::hex << static_cast<unsigned>(scalar);
            ++escaped;
        }
    }
    EXPECT_EQ(escaped, 65 + 128 + 19);
}

TEST(VisibleText, ReplacesTheMiddleOfALongTextByTheNumberLeftOut) {
    const std::string text = "begin" + std::string(12'835, 'x') + "end";
    const std::string cut = visibleText(text, 498);
    EXPECT_EQ(cut, "begin" + std::string(327, 'x') + " … (12,345 more characters) … " +
                       std::string(163, 'x') + "end");
    EXPECT_EQ(visibleText(std::string(500, 'x'), 500), std::string(500, 'x'));
    EXPECT_NE(visibleText(std::string(501, 'x'), 500).find("(1 more characters)"),
              std::string::npos);
}

TEST(VisibleText, NeverCutsInsideACharacter) {
    for (const std::string_view one : {"é", "東", "👩"}) {
        std::string text;
        for (int count = 0; count < 2000; ++count) {
            text += one;
        }
        for (std::size_t most = 10; most < 20; ++most) {
            const std::string cut = visibleText(text, most);
            EXPECT_TRUE(MCPStdio::isValidUTF8(cut));
            EXPECT_EQ(cut.find("\uFFFD"), std::string::npos);
        }
    }
}

TEST(VisibleText, IsBoundedForMillionsOfMarks) {
    std::string text = "a";
    while (text.size() < 4'000'000) {
        text += "\u0301";
    }
    EXPECT_LT(shown(text).size(), 5000U);
}

TEST(VisibleName, ShowsEverythingButLettersDigitsAndAFewSignsByNumber) {
    EXPECT_EQ(visibleName("calendar_create_event", 64), "calendar_create_event");
    EXPECT_EQ(visibleName("A-z.0/9", 64), "A-z.0/9");
    EXPECT_EQ(visibleName("x wants:\né", 64), "x\\u{20}wants\\u{3A}\\u{A}\\u{E9}");
    EXPECT_EQ(visibleName(std::string(70, 'x'), 64),
              std::string(43, 'x') + " … (6 more characters) … " + std::string(21, 'x'));
}

} // namespace
} // namespace velmiro::host
