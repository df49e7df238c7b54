#include "osascript/message/EncodedWords.hpp"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

struct Case {
    std::string_view value;
    std::string_view text;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.value;
}

class HeaderValue : public testing::TestWithParam<Case> {};

TEST_P(HeaderValue, IsDecoded) {
    EXPECT_EQ(decodedWords(GetParam().value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    EncodedWords, HeaderValue,
    testing::Values(
        Case{"", ""}, Case{"plain", "plain"}, Case{" two  blanks ", " two  blanks "},
        Case{"=?utf-8?Q?Gr=C3=BC=C3=9Fe_an?= alle", "Grüße an alle"},
        Case{"=?UTF-8?b?R3LDvMOfZQ==?=", "Grüße"}, Case{"=?iso-8859-1?q?=80?=", "€"},
        Case{"=?utf-8*de?Q?=C3=BC?=", "ü"},
        Case{"=?utf-8?Q?"
             "?=",
             ""},
        Case{"a =?utf-8?Q?b?= =?utf-8?Q?c?= d", "a bc d"},
        Case{"=?utf-8?Q?b?=\r\n =?koi8-r?Q?=F0?=", "bП"},
        Case{"=?utf-8?Q?b?=c=?utf-8?Q?d?=", "bcd"}, Case{"folded\r\n\tvalue", "folded\tvalue"},
        // A character that is cut in two, also where the encoding or the language changes.
        Case{"=?utf-8?B?w?= =?utf-8?Q?=C3?= =?UTF-8?Q?=BC?=", "ü"},
        Case{"=?utf-8?Q?=C3?=\r\n =?utf-8*en?B?vA==?=", "ü"},
        Case{"=?gb2312?B?xA==?= =?gb2312?B?4w==?=", "你"},
        Case{"=?iso-2022-jp?B?GyRCJCI=?= =?iso-2022-jp?B?JCQbKEI=?=", "あい"},
        // Words that must not be joined.
        Case{"=?utf-8?Q?=C3?= x =?utf-8?Q?=BC?=", "\uFFFD x \uFFFD"},
        Case{"=?utf-7?Q?+APw?= =?utf-7?Q?abc?=", "üabc"},
        Case{"=?euc-kr?Q?=B0=A1=B0?= =?utf-8?Q?!?=", "가\uFFFD!"},
        // What mail programs forgive.
        Case{"\"=?utf-8?Q?M=C3=BCller,_A?=\" <a@b>", "\"Müller, A\" <a@b>"},
        Case{"=?utf-8?Q?with blanks =C3=BC?=", "with blanks ü"},
        Case{"=?utf-8?Q?folded\r\n within?=", "folded within"}, Case{"=?utf-8?Q?Why?_?=", "Why? "},
        Case{"=?utf-8?Q?=41?=", "A"}, Case{"=?utf-8?Q?a=zz=4?=", "a=zz=4"},
        Case{"=?utf-8?B?R3LDvMOfZQ?=", "Grüße"}, Case{"=?utf-8?B?w7w?= =?utf-8?B?w58?=", "üß"},
        Case{"=?utf-8?B?R3*L D=vM?=", "Grü"}, Case{"=?utf-8?B?====?=", ""},
        Case{"=?x-unknown?Q?=FC?=", "ü"}, Case{"=?utf-8?Q?\xC3\xBC?=", "ü"},
        Case{"=?iso-8859-1?Q?\xFC?=", "ü"},
        // What is no word.
        Case{"=?utf-8?Q?unfinished", "=?utf-8?Q?unfinished"}, Case{"=?", "=?"},
        Case{"=?utf-8?Q", "=?utf-8?Q"}, Case{"=?utf-8?X?a?=", "=?utf-8?X?a?="},
        Case{"=?"
             "?Q?a?=",
             "=?"
             "?Q?a?="},
        Case{"=?a b?Q?c?=", "=?a b?Q?c?="},
        Case{"=?utf-8?Q?unfinished =?utf-8?Q?=C3=BC?=", "=?utf-8?Q?unfinished ü"},
        // Bytes beyond ASCII beside words.
        Case{"\xC3\xBC =?utf-8?Q?=C3=BC?=", "ü ü"}, Case{"\xFC =?utf-8?Q?=C3=BC?= \xFC", "ü ü ü"},
        Case{"\xFC =?utf-8?Q?a?= \xC3\xBC", "ü a Ã¼"}));

/// Returns a value made of copies of a piece.
std::string repeated(std::string_view piece, int times) {
    std::string value;
    for (int i = 0; i < times; ++i) {
        value += piece;
    }
    return value;
}

TEST(EncodedWords, HostileValuesTakeLinearTime) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(decodedWords(repeated("=?utf-8?Q?=C3=BC?= ", 20000)).size(), 40001U);
    EXPECT_EQ(decodedWords(repeated("=?koi8-r?Q?=C3?= =?euc-kr?Q?=C3?= ", 20000)).size(), 100001U);
    EXPECT_EQ(decodedWords(repeated("=?utf-8?Q?=C3?= x", 20000)).size(), 100000U);
    EXPECT_EQ(decodedWords(repeated("=?utf-8?Q?", 50000)).size(), 500000U);
    EXPECT_EQ(decodedWords(repeated("=?utf-8?Q?a", 50000)).size(), 550000U);
    EXPECT_EQ(decodedWords(repeated("=?utf-8?Q?a", 50000) + "?=").size(), 549990U);
    EXPECT_EQ(decodedWords(repeated("=?", 500000)).size(), 1000000U);
    EXPECT_EQ(decodedWords(repeated("=?utf-8?Q?=FF?= ", 20000)).size(), 60001U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{5});
}

} // namespace
} // namespace velmiro::osascript
