#include "osascript/mail/Addresses.hpp"

#include <chrono>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace velmiro::osascript {
namespace {

/// Writes mailboxes as `name|address`, one a line.
std::string mailboxes(std::string_view value) {
    std::vector<Mailbox> found;
    addMailboxes(value, found);
    std::string text;
    for (const Mailbox& mailbox : found) {
        text += text.empty() ? "" : "\n";
        text += mailbox.name + "|" + mailbox.address;
    }
    return text;
}

struct Case {
    std::string_view value;
    std::string_view expected;
};

void PrintTo(const Case& one, std::ostream* out) {
    *out << one.value;
}

class Addresses : public testing::TestWithParam<Case> {};

TEST_P(Addresses, AreReadAsMailProgramsShowThem) {
    EXPECT_EQ(mailboxes(GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    OfTheGrammar, Addresses,
    testing::Values(
        Case{"", ""}, Case{"a@b.c", "|a@b.c"}, Case{"<a@b.c>", "|a@b.c"},
        Case{"Ana Berg <a@b.c>", "Ana Berg|a@b.c"}, Case{"\"B, Ana\" <a@b.c>", "B, Ana|a@b.c"},
        Case{"a@b.c, Bo <d@e.f>,g@h.i", "|a@b.c\nBo|d@e.f\n|g@h.i"},
        Case{R"("Ana \"Bo\" \\ B" <a@b.c>)", R"(Ana "Bo" \ B|a@b.c)"},
        Case{"a@b.c (Ana (and) Berg)", "Ana (and) Berg|a@b.c"}, Case{"(Ana) a@b.c", "Ana|a@b.c"},
        Case{"Ana (Firm) Berg <a@b.c> (x)", "Ana (Firm) Berg|a@b.c"},
        Case{"<a@b.c> (Ana)", "Ana|a@b.c"}, Case{"(Ana) <a@b.c>", "Ana|a@b.c"},
        Case{"Team: a@b.c, Bo <d@e.f>; g@h.i", "|a@b.c\nBo|d@e.f\n|g@h.i"},
        Case{"undisclosed-recipients:;", ""}, Case{"\"a b\"@c.d", "|\"a b\"@c.d"},
        Case{"Ana <\"a, b\"@c.d>", "Ana|\"a, b\"@c.d"}, Case{"a@[IPv6:::1]", "|a@[IPv6:::1]"},
        Case{"Ana <a@[192.0.2.1]>", "Ana|a@[192.0.2.1]"}, Case{"Ana <@x.y,@z:a@b.c>", "Ana|a@b.c"},
        Case{"Ana < a @ b . c >", "Ana|a@b.c"}, Case{"Ana <a@b.c (home)>", "Ana|a@b.c"},
        Case{"A. B. Smith <a@b.c>", "A. B. Smith|a@b.c"}));

INSTANTIATE_TEST_SUITE_P(
    InOtherCharacters, Addresses,
    testing::Values(Case{"Zoë <zoë@exämple.org>", "Zoë|zoë@exämple.org"},
                    Case{"Zo\xEB <a@b.c>", "Zoë|a@b.c"},
                    Case{"=?utf-8?B?QW5hLCBC?= <a@b.c>", "Ana, B|a@b.c"},
                    Case{"\"=?utf-8?B?QW5hLCBC?=\" <a@b.c>", "Ana, B|a@b.c"},
                    Case{"=?utf-8?Q?Zo=C3?= =?utf-8?Q?=AB?= Berg <a@b.c>", "Zoë Berg|a@b.c"},
                    Case{"=?utf-8?B?Wm/DqyBCZXJn?= <a@b.c>, =?utf-8?Q?B?= <d@e.f>",
                         "Zoë Berg|a@b.c\nB|d@e.f"},
                    Case{"=?utf-8?Q?Berg, Ana?= <a@b.c>", "Berg, Ana|a@b.c"},
                    Case{"=?utf-8?Q?Ana_<x@y>,?= <a@b.c>", "Ana <x@y>,|a@b.c"},
                    Case{"a@b.c (=?utf-8?Q?Zo=C3=AB?=)", "Zoë|a@b.c"},
                    Case{"=?utf-8?Q?x=40y=2Ez?=", "x@y.z|"}, // nobody wrote an address
                    Case{"=?utf-8?Q?a=0D=0ABcc:_x=00?= <a@b.c>", "a Bcc: x|a@b.c"},
                    Case{"=?utf-8?Q?Ana, x@y.z", "=?utf-8?Q?Ana|\n|x@y.z"},
                    Case{"a@xn--4ca.org", "|a@xn--4ca.org"}));

INSTANTIATE_TEST_SUITE_P(
    OfNoGrammar, Addresses,
    testing::Values(
        Case{"Ana Berg", "Ana Berg|"}, Case{"MAILER-DAEMON", "MAILER-DAEMON|"},
        Case{"<MAILER-DAEMON>", "|MAILER-DAEMON"}, Case{"Ana [Firm] <a@b.c>", "Ana [Firm]|a@b.c"},
        Case{"Ana <>", "Ana|"}, Case{"<>", ""}, Case{"Ana <> <a@b.c>", "Ana|a@b.c"},
        Case{"ana@x <a@b.c>", "ana@x|a@b.c"}, Case{"\"a@b.c\" <a@b.c>", "|a@b.c"},
        Case{"a@b.c; d@e.f", "|a@b.c\n|d@e.f"}, Case{"a@b.c d@e.f", "|a@b.c\n|d@e.f"},
        Case{"Ana a@b.c Bo d@e.f", "Ana|a@b.c\nBo|d@e.f"}, Case{"a@b.c Ana", "Ana|a@b.c"},
        Case{"Ana <a@b.c> Bo <d@e.f>", "Ana|a@b.c\nBo|d@e.f"},
        Case{"Ana <a@b.c> Berg, Bo <d@e.f>", "Ana Berg|a@b.c\nBo|d@e.f"},
        Case{"Ana <a@b.c", "Ana|a@b.c"}, Case{"Ana <a@b.c, Bo <d@e.f>", "Ana|a@b.c\nBo|d@e.f"},
        Case{"Ana <a@b.c, d@e.f", "Ana|a@b.c\n|d@e.f"},
        Case{"<a,x@b.c>, d@e.f", "|a,x@b.c\n|d@e.f"}, Case{"a@b.c () <d@e.f>", "a@b.c|d@e.f"},
        Case{"Ana <a@b.c <d@e.f>", "Ana|a@b.c\n|d@e.f"}, Case{"Ana <<a@b.c>>", "Ana|a@b.c"},
        Case{"Ana a@b.c>", "Ana|a@b.c"}, Case{"\"Ana <a@b.c>, d@e.f", "Ana|a@b.c\n|d@e.f"},
        Case{"Ana (x <a@b.c>", "Ana (x|a@b.c"}, Case{"Ana x) <a@b.c>", "Ana x)|a@b.c"},
        Case{",, ;a@b.c,;", "|a@b.c"}, Case{"root@", "root@|"}, Case{"@b.c", "@b.c|"},
        Case{"\"x@y.z\"", "x@y.z|"}, Case{"\"x@y.z\" a@b.c", "x@y.z|a@b.c"}, Case{"\\", "\\|"},
        Case{"\"\\", "\\|"}, Case{"<", ""}, Case{"(", "(|"}, Case{"\"", ""}));

TEST(Addresses, HoldNoControlCharacters) {
    EXPECT_EQ(mailboxes({"A\0na\tB\r <a@\x01\x62.c>", 16}), "A na B|a@b.c");
    EXPECT_EQ(mailboxes("\"A\r\n  B\" <a@b.c>"), "A B|a@b.c");
    EXPECT_EQ(mailboxes("A\u2028B <a\u0085@b.c>"), "A B|a @b.c");
}

TEST(Addresses, OfAnyShapeAreReadInLinearTime) {
    const auto begin = std::chrono::steady_clock::now();
    for (const std::string_view piece : {"a@b,",     "a@b ",  "<\"(",
                                         "<",        "(",     "\"",
                                         "[",        "@[",    "<@",
                                         "a <",      "<a@b>", ":",
                                         "=?",       "=?a?q", "=?a?q?",
                                         "=?a?q?x",  "?=",    "=?a?q?x?=",
                                         "(a",       "\\\"",  "\"\\",
                                         "a@b (c) ", "()",    "<(",
                                         " ",        "\xFF",  "Ana \"B\" <a@b.c>, "}) {
        std::string value;
        while (value.size() < 400'000) {
            value += piece;
        }
        std::vector<Mailbox> found;
        addMailboxes(value, found);
        EXPECT_LE(found.size(), 200'000) << piece;
    }
    // A quadratic reader takes minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{30});
}

TEST(Addresses, OfRandomCharactersAreReadWhole) {
    constexpr std::string_view characters = "ab@.,;:<>()[]\"\\ =?qB\t\xC3\xAB";
    std::mt19937 random{7};
    for (int round = 0; round < 20'000; ++round) {
        std::string value(random() % 40, ' ');
        for (char& character : value) {
            character = characters[random() % characters.size()];
        }
        std::vector<Mailbox> found;
        addMailboxes(value, found);
        for (const Mailbox& mailbox : found) {
            ASSERT_FALSE(mailbox.name.empty() && mailbox.address.empty()) << value;
        }
        // What follows a list is read as if it stood alone, if nothing is left open.
        if (value.find_first_of("\"(<=[:") == std::string::npos) {
            const std::string after = mailboxes(value + ", Bo <d@e.f>");
            ASSERT_TRUE(after.ends_with("Bo|d@e.f")) << value;
        }
    }
}

} // namespace
} // namespace velmiro::osascript
