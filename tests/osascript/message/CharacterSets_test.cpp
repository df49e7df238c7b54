#include "osascript/message/CharacterSets.hpp"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

struct Case {
    std::string_view label;
    std::string_view bytes;
    std::string_view text;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.label;
}

class LabelledText : public testing::TestWithParam<Case> {};

TEST_P(LabelledText, IsReadAsMailProgramsReadIt) {
    EXPECT_EQ(decoded(GetParam().bytes, GetParam().label), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    CharacterSets, LabelledText,
    testing::Values(
        Case{"utf-8", "Gr\xC3\xBC\xC3\x9F", "Grüß"}, Case{"UTF8", "\xC3\xBC", "ü"},
        Case{"utf-8", "\xEF\xBB\xBFx", "x"}, Case{"utf-8", "a\xE2\x82", "a\uFFFD"},
        Case{"utf-8", "\xED\xA0\x80z", "\uFFFD\uFFFD\uFFFDz"},
        Case{"iso-8859-1", "\x80\x93\xE4\x94", "€“ä”"}, Case{"ISO8859-1", "\x99", "™"},
        Case{"us-ascii", "\xE9", "é"}, Case{"latin1", "\x85", "…"},
        Case{"windows-1252", "\x81\x8D\xFF", "\u0081\u008Dÿ"}, Case{"iso-8859-9", "\x80\xFE", "€ş"},
        Case{"iso-8859-15", "\xA4", "€"}, Case{"iso-8859-16", "\xA4\xBA\xFF\x85", "€șÿ\u0085"},
        Case{"iso-8859-2", "\xB1\xE6", "ąć"}, Case{"windows-1251", "\xCF\xF0", "Пр"},
        Case{"koi8-r", "\xF0\xD2", "Пр"}, Case{"koi8-u", "\xA4\xB4", "єЄ"},
        Case{"iso-8859-8-i", "\xF9\xEC", "של"}, Case{"iso-8859-8-E", "\xF9", "ש"},
        Case{"windows-1255", "\xF9", "ש"}, Case{"windows-1256", "\xC7", "ا"},
        Case{"iso-8859-11", "\xA1\x85", "ก…"}, Case{"tis-620", "\xA1", "ก"},
        Case{"gb2312", "\xC4\xE3\x8A\x65", "你奺"}, Case{"GBK", "\xC4\xE3", "你"},
        Case{"gb18030", "\x81\x39\xEF\x30", "㐁"}, Case{"big5", "\xA7\x41", "你"},
        Case{"big5-hkscs", "\x88\x66", "Ê"}, Case{"euc-kr", "\xB0\xA1\x8C\x63", "가똠"},
        Case{"ks_c_5601-1987", "\x8C\x63", "똠"}, Case{"uhc", "\xB0\xA1", "가"},
        Case{"shift_jis", "\x82\xA0\x87\x40\xB1\x5C", "あ①ｱ\\"},
        Case{"windows-31j", "\xFB\xFC", "髙"}, Case{"euc-jp", "\xA4\xA2\x8E\xB1", "あｱ"},
        Case{"iso-2022-jp", "\x1B$B$\"\x1B(Bx", "あx"},
        Case{"iso-2022-jp", "\x1B(B\x1B$B$\"\x1B(B\x1B$B$$\x1B(J\x1B(B!", "あい!"},
        Case{"iso-2022-jp", "\x1B$B-!\x1B(I1\x1B(B", "①ｱ"},
        Case{"iso-2022-kr", "\x1B$)C\x0E\x30\x21\x0F!", "가!"},
        Case{"hz-gb-2312", "~{Dc~}!", "你!"}, Case{"utf-7", "1 +- 1, Gr+APwA3w-!", "1 + 1, Grüß!"},
        Case{"unicode-1-1-utf-7", "+2D3eAA-", "😀"},
        Case{"utf-16",
             "\xFF\xFE"
             "a\0\xE4\0"sv,
             "aä"},
        Case{"utf-16be", "\0a\0\xE4"sv, "aä"}, Case{"utf-16le", "a\0\x3D\xD8"sv, "a\uFFFD"},
        Case{"macintosh", "\x8A", "ä"}, Case{"ibm850", "\x84", "ä"},
        // What a set does not define, and a sequence that is cut off.
        Case{"shift_jis", "\x82", "\uFFFD"}, Case{"euc-kr", "\xB0!", "\uFFFD!"},
        Case{"gb18030", "a\xFF", "a\uFFFD"}, Case{"windows-1253", "\xD2", "\uFFFD"},
        // Labels that nobody knows.
        Case{"", "\xC3\xBC", "ü"}, Case{"x-unknown", "\xFC", "ü"}, Case{"utf-8\0x"sv, "\xFC", "ü"},
        Case{"klingon\0"sv, "\xC3\xBC", "ü"}, Case{"../../etc/passwd", "\xFC", "ü"},
        Case{"\"UTF-8\"", "\xC3\xBC", "ü"}));

TEST(CharacterSets, TextWithoutALabelIsUTF8IfWellFormed) {
    EXPECT_EQ(decodedUnlabelled("Gr\xC3\xBC\xC3\x9F"), "Grüß");
    EXPECT_EQ(decodedUnlabelled("\xEF\xBB\xBFx"), "x");
    EXPECT_EQ(decodedUnlabelled("\xC3\xBC and \xFC"), "Ã¼ and ü");
    EXPECT_EQ(decodedUnlabelled(""), "");
}

TEST(CharacterSets, ALongTextIsTheSameAsItsParts) {
    // Characters of two bytes, at every offset from the boundaries of pieces.
    for (const std::string_view label : {"euc-kr", "shift_jis", "gb18030", "koi8-r"}) {
        const std::string_view pair = label == "shift_jis" ? "\x82\xA0" : "\xB0\xA1";
        const std::string one = decoded(pair, label);
        for (const std::size_t prefix : {0U, 1U, 2U, 3U}) {
            std::string bytes(prefix, 'x');
            std::string text = bytes;
            for (int i = 0; i < 20000; ++i) {
                bytes += pair;
                text += one;
            }
            EXPECT_TRUE(decoded(bytes, label) == text) << label << " after " << prefix;
        }
    }
}

} // namespace
} // namespace velmiro::osascript
