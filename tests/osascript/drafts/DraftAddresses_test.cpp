#include "osascript/drafts/DraftAddresses.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace velmiro::osascript {
namespace {

std::string given(const std::string& text) {
    return recipientText({"", text});
}

TEST(DraftAddresses, AddressesStayAsTheyWereGiven) {
    for (const char* text :
         {"plain@example.org", "nobody", "Ana <ana@example.org>", R"("Berg, Ana" <a@b>)",
          "J. Doe <j@d>", "a@b, c@d", "Ana <a@b>, Bob <c@d>", "friends: a@b, c@d;", "a@b (Ana)",
          "Ana (at work) <a@b>", R"("a b"@c)", R"("a\"b" <c@d>)", "a@[192.0.2.1]",
          "zoë@bücher.example"}) {
        EXPECT_EQ(given(text), text);
    }
}

TEST(DraftAddresses, AddressesOfPhonesWithDotsInARowStay) {
    for (const char* text : {"a..b@example.org", "a.@example.org", "Ana <a..b.@example.org>"}) {
        EXPECT_EQ(given(text), text);
    }
}

TEST(DraftAddresses, ALongAddressStays) {
    const std::string address = "Ana <" + std::string(300, 'a') + "@example.org>";
    EXPECT_EQ(given(address), address);
}

TEST(DraftAddresses, NamesBeyondASCIIAreEncodedAndAddressesAreNot) {
    EXPECT_EQ(given("Ana Ünal <ana@example.org>"), "=?utf-8?Q?Ana_=C3=9Cnal?= <ana@example.org>");
    EXPECT_EQ(given(R"("Ünal, Ana" <a@b>, c@d)"), "=?utf-8?Q?=C3=9Cnal=2C_Ana?= <a@b>, c@d");
    EXPECT_EQ(given(R"("Ünal \"A\"" <zoë@b>)"), "=?utf-8?Q?=C3=9Cnal_=22A=22?= <zoë@b>");
    EXPECT_EQ(given("Únnamed"), "=?utf-8?Q?=C3=9Annamed?=");
}

TEST(DraftAddresses, ANameBeforeAnAddressGetsTheQuotesThatItNeeds) {
    const std::vector<std::pair<std::string, std::string>> texts{
        {"Acme, Inc. <i@a.c>", R"("Acme, Inc." <i@a.c>)"},
        {"Doe, John<a@b.c>", R"("Doe, John" <a@b.c>)"},
        {"Dr. O'Neil, MD <a@b.c>", R"("Dr. O'Neil, MD" <a@b.c>)"},
        {"Doe, John (at work) <a@b.c>", R"_("Doe, John (at work)" <a@b.c>)_"},
        {"John [x] <a@b.c>", R"("John [x]" <a@b.c>)"},
        {"John @Acme <a@b.c>", R"("John @Acme" <a@b.c>)"},
        {"John @Acme, Inc. <a@b.c>", R"("John @Acme, Inc." <a@b.c>)"},
        {"a@b.c <a@b.c>", R"("a@b.c" <a@b.c>)"},
        {"Re: John <a@b.c>", R"("Re: John" <a@b.c>)"},
        {"John :( <a@b.c>", R"("John :(" <a@b.c>)"},
        {R"(A\B <a..b@c>)", R"("A\\B" <a..b@c>)"},
        {"Ünal, Ana <a@b>", "=?utf-8?Q?=C3=9Cnal=2C_Ana?= <a@b>"},
    };
    for (const auto& [text, expected] : texts) {
        EXPECT_EQ(given(text), expected);
    }
}

TEST(DraftAddresses, AListOrAGroupIsNoNameOfItsLastAddress) {
    for (const char* text : {"a@b.c, D <d@e.f>", "a@b.c (x), D <d@e.f>", "<a@b.c>, D <d@e.f>",
                             "nobody:;, D <d@e.f>", R"("a, b", D <d@e.f>)", "D (x, y) <d@e.f>"}) {
        EXPECT_EQ(given(text), text);
    }
    for (const char* text : {"a@b.c; D <d@e.f>", "g: a@b, D <d@e.f>", "Doe, J <a b@c>"}) {
        EXPECT_EQ(given(text), "\"" + std::string{text} + "\"");
    }
}

TEST(DraftAddresses, WhatWouldSwallowTheNextRecipientBecomesAName) {
    for (const char* text : {"@", "open (comment", "<a@b", "a@b>c", "friends:", "friends: a@b",
                             ";@", "a@b;c@d", "a b c", "a@b c@d", "a@b@c", "a@[1", "Ana <a@b> (x",
                             "Ana <>", "*,,< (.Ana", "*g:;<x;", "a@b,)", "((a)", ""}) {
        EXPECT_EQ(given(text), "\"" + std::string{text} + "\"");
    }
    EXPECT_EQ(given("\"open"), R"("\"open")");
    EXPECT_EQ(given("a@b \\"), R"("a@b \\")");
    EXPECT_EQ(given(R"("a\" <a@b>)"), R"("\"a\\\" <a@b>")");
    EXPECT_EQ(given("Ü \""), "=?utf-8?Q?=C3=9C_=22?=");
    EXPECT_EQ(given("Ü: a@b;"), "=?utf-8?Q?=C3=9C=3A_a=40b=3B?=");
}

TEST(DraftAddresses, HostileTextsBecomeNames) {
    for (const char* piece : {"a:", "(", "<", "\"", "[", ":@", "a@b;", "\\", "\\\"", "x "}) {
        std::string text;
        while (text.size() < 60'000) {
            text += piece;
        }
        const std::string written = given(text);
        EXPECT_TRUE(written.starts_with('"') || written.starts_with("=?utf-8?Q?")) << piece;
    }
}

TEST(DraftAddresses, NoTextEndsTheLine) {
    EXPECT_EQ(given("a@b\r\nBcc: c@d"), R"("a@b Bcc: c@d")");
    EXPECT_EQ(given("\u2028a@b\n"), "a@b");
    EXPECT_EQ(recipientText({"A\nBcc: x", "a@b\r\n"}), R"("A Bcc: x" <a@b>)");
}

TEST(DraftAddresses, ANameOfItsOwnIsQuoted) {
    EXPECT_EQ(recipientText({R"(Berg, "Ana")", "ana@example.org"}),
              R"("Berg, \"Ana\"" <ana@example.org>)");
    EXPECT_EQ(recipientText({"Ünal", "<a@b>"}), "=?utf-8?Q?=C3=9Cnal?= <a@b>");
    EXPECT_EQ(recipientText({"Ana", ""}), R"("Ana")");
    EXPECT_EQ(recipientText({"Ana", "a\"b"}), R"("Ana <a\"b>")");
    EXPECT_EQ(recipientText({"Ana", "a@b, (c"}), R"("Ana <a@b, (c>")");
}

TEST(DraftAddresses, ASoleMailboxIsRead) {
    const std::vector<std::pair<std::string, Mailbox>> texts{
        {"a@b", {"", "a@b"}},
        {" Mira Ünal <m@example.org>\n", {"Mira Ünal", "m@example.org"}},
        {R"("Berg, Ana" <a@b>)", {"Berg, Ana", "a@b"}},
        {"a@b (Ana)", {"Ana", "a@b"}},
    };
    for (const auto& [text, expected] : texts) {
        const auto mailbox = soleMailbox(text);
        ASSERT_TRUE(mailbox) << text;
        EXPECT_EQ(mailbox->name, expected.name);
        EXPECT_EQ(mailbox->address, expected.address);
    }
}

TEST(DraftAddresses, AnythingElseIsNoSoleMailbox) {
    for (const std::string& text :
         {std::string{}, std::string{" "}, std::string{"root"}, std::string{"@"},
          std::string{"a@b, c@d"}, std::string{"g: a@b;"}, std::string{"a@b\nBcc: c@d"},
          std::string{"a@b\xff"}, std::string{"Ana <a@b"}, std::string{"a@b c"}, std::string{"a@"},
          std::string(2000, 'a') + "@b", std::string{"a@b\0c", 5}}) {
        EXPECT_FALSE(soleMailbox(text)) << text;
    }
}

} // namespace
} // namespace velmiro::osascript
