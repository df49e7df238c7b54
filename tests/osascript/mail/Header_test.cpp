#include "osascript/mail/Header.hpp"
#include "osascript/mail/OneLine.hpp"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace velmiro::osascript {
namespace {

using Texts = std::vector<std::string>;

TEST(Header, EndsAtTheFirstEmptyLine) {
    EXPECT_EQ(headerEnd("A: b\n\nbody\n\n"), 5);
    EXPECT_EQ(headerEnd("A: b\r\n\r\nbody"), 6);
    EXPECT_EQ(headerEnd("A: b\n\r\nbody"), 5);
    EXPECT_EQ(headerEnd("A: b\r\r\n\r\r\nbody"), 7);
    EXPECT_EQ(headerEnd("\nbody"), 0);
    EXPECT_EQ(headerEnd("\r\nbody"), 0);
    EXPECT_EQ(headerEnd("A: b\n\n"), 5);
    for (const char* const text :
         {"", "A: b", "A: b\n", "A: b\r\n\r", "A: b\n \nC: d", "A\r\r\r"}) {
        EXPECT_EQ(headerEnd(text), std::string::npos) << text;
    }
}

TEST(Header, FieldsAreFoundByName) {
    const std::string_view header = "Subject-X: no\nsubject : one\nX-Subject: no\nSUBJECT\t:two\n"
                                    " Subject: folded\nSubject: three\nSubject";
    EXPECT_EQ(allValues(header, "subject"), (Texts{"one", "two Subject: folded", "three"}));
    EXPECT_EQ(firstValue(header, "subject"), "one");
    EXPECT_EQ(firstValue(header, "to"), std::nullopt);
    EXPECT_EQ(firstValue("\uFEFFTo: x\nA: b", "to"), "x");
    EXPECT_EQ(allValues("", "to"), Texts{});
    EXPECT_EQ(allValues("to:", "to"), Texts{""});
    EXPECT_EQ(allValues("to:\n\nto: x", "to"), (Texts{"", "x"}));
}

TEST(Header, ValuesAreUnfolded) {
    EXPECT_EQ(firstValue("A:  one\r\n two\n\tthree \r\nB: c", "a"), "one two\tthree");
    EXPECT_EQ(firstValue("A:\n one", "a"), "one");
    EXPECT_EQ(firstValue("A: one\r\r\n two\r\r\nB: c", "a"), "one two");
    EXPECT_EQ(firstValue("A: one\n", "a"), "one");
    EXPECT_EQ(firstValue("A: one\n ", "a"), "one");
    // A lone CR is a character of the value, as are those that are line ends elsewhere.
    EXPECT_EQ(firstValue("A: one\rB: two\nB: c", "b"), "c");
    EXPECT_EQ(firstValue("A: one\rB: two", "a"), "one\rB: two");
    EXPECT_EQ(firstValue("A: x\u2028B: y\u2029B: z\u0085B: z\nB: c", "b"), "c");
}

TEST(Header, ValuesHaveALimit) {
    const std::string endless(largestValue + 10, 'x');
    EXPECT_EQ(firstValue("A:" + endless, "a").value().size(), largestValue);
    // Not within a word, a recipient or a character.
    std::string recipients;
    while (recipients.size() < largestValue + 100) {
        recipients += "someone@example.org, ";
    }
    EXPECT_TRUE(firstValue("A:" + recipients, "a").value().ends_with("someone@example.org,"));
    std::string lines;
    while (lines.size() < largestValue + 100) {
        lines += "\"Ana Berg\" <a@b.c>,\n ";
    }
    EXPECT_TRUE(firstValue("A:" + lines, "a").value().ends_with("<a@b.c>,"));
    for (const char* const before : {"", "x", "xx"}) {
        std::string letters = before;
        while (letters.size() < largestValue + 100) {
            letters += "€";
        }
        EXPECT_TRUE(firstValue("A:" + letters, "a").value().ends_with("€"));
    }
    const std::string folded = "A: x" + std::string(3 * largestValue, ' ') + "\n y";
    EXPECT_EQ(firstValue(folded, "a"), "x");
}

TEST(Header, TextsAreDecodedInOneLine) {
    EXPECT_EQ(decodedValue("Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\n =?utf-8?Q?_x?=\n", "subject"),
              "Grüße x");
    EXPECT_EQ(decodedValue("Subject: \xFC\n", "subject"), "ü");
    EXPECT_EQ(decodedValue("Subject: =?utf-8?Q?a=0D=0A=00b=E2=80=A8?=", "subject"), "a b");
    EXPECT_EQ(decodedValue("To: x", "subject"), "");
    EXPECT_EQ(inOneLine("\u0085\u2028 a\u0001\u007F b\u00A0c\u00C2\u0080\u2029d \n"),
              "a  b\u00A0cÂ d");
    EXPECT_EQ(inOneLine({"a\0\0b\0", 5}), "a b");
    const std::string embedding = std::string{"\xE2\x80"} + "\xAA"; // turns what follows around
    EXPECT_EQ(inOneLine("a\tb\u2027" + embedding), "a b\u2027" + embedding);
    EXPECT_EQ(inOneLine("\xC2"), "\xC2");
    EXPECT_EQ(inOneLine(""), "");
    EXPECT_EQ(inOneLine("\n"), "");
}

TEST(Header, MailboxesAreThoseOfAllFields) {
    std::string text;
    for (const Mailbox& mailbox : mailboxesOf("To: a@b.c, \"D\"\n <d@e.f>\nto: g@h.i\n", "To")) {
        text += "[" + mailbox.name + "|" + mailbox.address + "]";
    }
    EXPECT_EQ(text, "[|a@b.c][D|d@e.f][|g@h.i]");
}

TEST(Header, OfAnyShapeIsReadInLinearTime) {
    const std::string empty(largestHeader, '\n');
    EXPECT_EQ(firstValue(empty, "to"), std::nullopt);
    std::string folded = "To:";
    std::string fields;
    while (folded.size() < largestHeader) {
        folded += "\n x";
        fields += "To:x\n";
    }
    EXPECT_EQ(allValues(folded, "to").size(), 1);
    EXPECT_EQ(allValues(fields, "to").size(), fields.size() / 5);
}

} // namespace
} // namespace velmiro::osascript
