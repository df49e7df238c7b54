#include "osascript/message/MessageText.hpp"

#include "MCPStdio/transport/Descriptor.hpp"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace velmiro::osascript {
namespace {

using namespace std::string_view_literals;

/// Returns the text of a message whose lines end in LF.
std::string read(std::string_view message) {
    const MCPStdio::Descriptor file{::memfd_create("message", MFD_CLOEXEC)};
    if (::write(file.get(), message.data(), message.size()) !=
        static_cast<ssize_t>(message.size())) {
        return "cannot write";
    }
    return messageText(file.get());
}

/// Returns the text of a message of this type with a body.
std::string readTyped(std::string_view type, std::string_view body,
                      std::string_view encoding = "8bit") {
    std::string message = "Subject: x\nContent-Type: ";
    message.append(type).append("\nContent-Transfer-Encoding: ").append(encoding);
    return read(message.append("\n\n").append(body));
}

/// Returns a multipart with a boundary that no test uses within a part.
std::string multipart(std::string_view subtype, std::initializer_list<std::string_view> parts) {
    static int boundary = 0;
    const std::string mark = "b" + std::to_string(++boundary) + "b";
    std::string text = "Content-Type: multipart/";
    text.append(subtype).append("; boundary=").append(mark).append("\n\n");
    for (const std::string_view part : parts) {
        text.append("--").append(mark).append("\n").append(part).append("\n");
    }
    return text.append("--").append(mark).append("--\n");
}

TEST(MessageText, AMessageOfOneText) {
    EXPECT_EQ(read("Subject: x\n\nHello\nworld\n\n\n"), "Hello\nworld");
    EXPECT_EQ(read("Subject: x\r\n\r\nHello\r\nworld\r\n"), "Hello\nworld");
    EXPECT_EQ(read("Subject: x\r\rHello\rworld\r"), "Hello\nworld");
    EXPECT_EQ(read("Subject: x\r\r\n\r\r\nHello\r\r\nworld\r\r\n"), "Hello\nworld");
    EXPECT_EQ(read("Subject: x\r\r\nA: b\r\r\n\r\r\nHello\r\nworld\r\n"), "Hello\nworld");
    EXPECT_EQ(read("\uFEFFContent-Type: text/html\n\n<p>Hello"), "Hello");
    EXPECT_EQ(read("From a@b Mon Jan  1 10:00:00 2026\nSubject: x\n\nHello\n"), "Hello");
    EXPECT_EQ(read("\nonly a body\n"), "only a body");
    EXPECT_EQ(read("Subject: x\n\na\0b\n"sv), "a\0b"sv);
}

TEST(MessageText, AMessageWithoutText) {
    EXPECT_EQ(read(""), "");
    EXPECT_EQ(read("Subject: x\n"), "");
    EXPECT_EQ(read("Subject: x\n\n"), "");
    EXPECT_EQ(read("\0\xFF\x01 no message \xFE"sv), "");
    EXPECT_EQ(read("this is no header\nat all\n\nbut this is text\n"), "but this is text");
    EXPECT_EQ(readTyped("application/pdf", "%PDF"), "");
}

TEST(MessageText, TypesThatAreMalformedOrRareAreText) {
    for (const std::string_view type :
         {"text", "plain", "", "text/", "\"text/plain\"", "TEXT/PLAIN", "text/x-markdown",
          "text/enriched", "text/calendar; method=REQUEST", "nonsense here", "text/plain;",
          "text/plain; charset"}) {
        EXPECT_EQ(readTyped(type, "Hello\n"), "Hello") << type;
    }
    EXPECT_EQ(readTyped("html", "<p>Hello"), "Hello");
    EXPECT_EQ(readTyped("text; charset=koi8-r", "\xF0"), "П");
    EXPECT_EQ(readTyped("text/plain charset=koi8-r", "\xF0"), "П");
    EXPECT_EQ(readTyped("text/plain; charset=\"koi8-r\" (comment)", "\xF0"), "П");
}

TEST(MessageText, CharacterSets) {
    EXPECT_EQ(readTyped("text/plain", "Gr\xC3\xBC\xC3\x9F"), "Grüß");
    EXPECT_EQ(readTyped("text/plain", "Gr\xFC\xDF \x80"), "Grüß €");
    EXPECT_EQ(readTyped("text/plain; charset=iso-8859-1", "\x80"), "€");
    EXPECT_EQ(readTyped("text/plain; charset=utf-7", "Gr+APwA3w=2D=\n!", "quoted-printable"),
              "Grüß!");
    EXPECT_EQ(readTyped("text/html", "<meta charset=koi8-r><p>\xF0"), "П");
    EXPECT_EQ(readTyped("text/html; charset=koi8-r", "<meta charset=utf-8><p>\xF0"), "П");
    EXPECT_EQ(readTyped("text/html", "<p>\x80"), "€");
    // A name that was found byte by byte cannot be true of units of two or four bytes.
    for (const std::string_view label :
         {"unicode", "ucs-2", "ISO-10646-UCS-2", "utf-16", "UTF-16LE", "utf-16be", "utf-32"}) {
        const std::string head = "<meta charset=" + std::string{label} + "><p>";
        EXPECT_EQ(readTyped("text/html", head + "\xC3\xBC"), "ü") << label;
        EXPECT_EQ(readTyped("text/html", head + "\x80"), "€") << label;
    }
    EXPECT_EQ(readTyped("text/plain; charset*=us-ascii'en'koi8-r", "\xF0"), "П");
}

TEST(MessageText, TransferEncodings) {
    EXPECT_EQ(readTyped("text/plain", "SGVsbG8=\n", "base64"), "Hello");
    EXPECT_EQ(readTyped("text/plain", "SGVs*bG8\ngd2 9ybGQ\n", "BASE64"), "Hello world");
    EXPECT_EQ(readTyped("text/plain", "SGVsbG8=\nSGVsbG8=\n", "base64"), "HelloHello");
    EXPECT_EQ(readTyped("text/plain", "SGVsb", "base64 (comment)"), "Hel");
    EXPECT_EQ(readTyped("text/plain", "SGVsbG8=\n\nSGVs \nbG8=\n____\nSGVs", "base64"),
              "HelloHello");
    EXPECT_EQ(readTyped("text/plain", "SGVsbG8=\n-- \nA list <a@b.c>\n", "base64"), "Hello");
    EXPECT_EQ(readTyped("text/plain", "SGVsbG8=\nunsubscribe\n", "base64"), "Hello");
    EXPECT_EQ(readTyped("text/plain", "a=20=\nb=3D=zz", "quoted-printable"), "a b==zz");
    EXPECT_EQ(readTyped("text/plain", "begin 644 x\n#86)C\n`\nend\n", "x-uuencode"), "abc");
    EXPECT_EQ(readTyped("text/plain", "as it is", "utf-8"), "as it is");
}

TEST(MessageText, FlowedText) {
    EXPECT_EQ(readTyped("text/plain; format=flowed", "a \nb\n-- \nc\n"), "a b\n-- \nc");
    EXPECT_EQ(readTyped("text/plain; format=Flowed; delsp=Yes", "a \nb\n"), "ab");
}

TEST(MessageText, PartsInOrderWithoutAttachments) {
    EXPECT_EQ(read(multipart("mixed", {"\nfirst\n", "Content-Type: application/zip\n\nzip",
                                       "Content-Type: text/plain\nContent-Disposition: "
                                       "ATTACHMENT; filename=x\n\nattached",
                                       "Content-Disposition: inline\n\nsecond"})),
              "first\n\nsecond");
    EXPECT_EQ(read(multipart("mixed", {"\na", multipart("related", {"\nb"}), "\nc"})),
              "a\n\nb\n\nc");
    EXPECT_EQ(read(multipart("mixed", {"\na", "Content-Type: text/html\n\n<p>b"})), "a\n\nb");
}

TEST(MessageText, AlternativesShowTheText) {
    const auto html = "Content-Type: text/html\n\n<p>HTML <a href=\"h:x\">x</a>"sv;
    EXPECT_EQ(read(multipart("alternative", {"\ntext", html})), "text");
    EXPECT_EQ(read(multipart("alternative", {html, "\ntext"})), "text");
    EXPECT_EQ(read(multipart("alternative", {html})), "HTML x [h:x]");
    EXPECT_EQ(read(multipart("alternative", {"\n \n\n", html})), "HTML x [h:x]");
    for (const std::string_view blank :
         {"\u00A0", "\uFEFF", "\u200B\u200C\u200D", "\u2060\u00AD\u034F", " \u3000\u2003\n"}) {
        const std::string plain = "Content-Type: text/plain; charset=utf-8\n\n\n";
        EXPECT_EQ(read(multipart("alternative", {plain + std::string{blank}, html})),
                  "HTML x [h:x]")
            << blank;
    }
    EXPECT_EQ(
        read(multipart("alternative",
                       {"\ntext", multipart("related", {html, "Content-Type: image/png\n\nx"})})),
        "text");
    EXPECT_EQ(read(multipart("mixed", {multipart("alternative", {"\n \n", html}), "\nfooter"})),
              "HTML x [h:x]\n\nfooter");
}

TEST(MessageText, AnInvitationIsShownOnlyIfThereIsNoOtherText) {
    const auto calendar = "Content-Type: text/calendar; method=REQUEST\n\nBEGIN:VCALENDAR"sv;
    EXPECT_EQ(read(multipart("alternative", {"\ntext", calendar})), "text");
    EXPECT_EQ(read(multipart("alternative", {calendar, "Content-Type: text/enriched\n\nx"})),
              "BEGIN:VCALENDAR");
}

TEST(MessageText, AMessageWithinAMessageHasAShortHeader) {
    const auto inner =
        "Content-Type: message/rfc822\n\nTo: b@c\nFrom: =?utf-8?Q?M=C3=BCller?= <a@b>\n"
        "X-A: b\nSubject: The\n plan\n\nbody"sv;
    const auto header = "---------------------\nFrom:    Müller <a@b>\nSubject: The plan\n"
                        "To:      b@c\n---------------------"sv;
    EXPECT_EQ(read(inner), std::string{header} + "\n\nbody");
    EXPECT_EQ(read(multipart("mixed", {"\nsee", inner})),
              "see\n\n\n" + std::string{header} + "\n\nbody");
    EXPECT_EQ(read("Content-Type: message/rfc822\nContent-Transfer-Encoding: base64\n\n"
                   "U3ViamVjdDogaGkKCmJvZHkK\n"),
              "-----------\nSubject: hi\n-----------\n\nbody");
    EXPECT_EQ(read(multipart("mixed", {"\nsee", "Content-Disposition: attachment\nContent-Type: "
                                                "message/rfc822\n\nSubject: x\n\nbody"})),
              "see");
    EXPECT_EQ(read("Content-Type: message/rfc822\n\n\nbody"), "body");
}

TEST(MessageText, ABounceShowsItsTextOrElseTheReport) {
    const auto status = "Content-Type: message/delivery-status\n\nAction: failed"sv;
    const auto returned = "Content-Type: message/rfc822\n\nSubject: hi\n\nbody"sv;
    EXPECT_EQ(read(multipart("report", {"\nNot delivered.", status, returned})), "Not delivered.");
    EXPECT_EQ(read(multipart("report", {status, returned})),
              "Action: failed\n\n\n-----------\nSubject: hi\n-----------\n\nbody");
}

TEST(MessageText, DamagedStructure) {
    EXPECT_EQ(read("Content-Type: multipart/mixed;; boundary=xx\n\n--xx\n\nhi\n--xx--\n"), "hi");
    EXPECT_EQ(read("Content-Type: multipart/mixed; boundary=xx\n\n--xx\n\nhi"), "hi");
    EXPECT_EQ(read("Content-Type: multipart/mixed\n\nno boundary\n"), "no boundary");
    EXPECT_EQ(read("Content-Type: multipart/mixed; boundary=yy\n\n--xx\n\nhi\n"), "--xx\n\nhi");
}

/// Returns a text within parts of a type, nested.
std::string nested(int depth) {
    std::string message;
    for (int i = 0; i < depth; ++i) {
        const std::string mark = "b" + std::to_string(i);
        message += "Content-Type: multipart/mixed; boundary=" + mark + "\n\n--" + mark + "\n";
    }
    return message + "\ndeep\n";
}

TEST(MessageText, DeepParts) {
    EXPECT_EQ(read(nested(50)), "deep");
    EXPECT_THROW(read(nested(51)), UnreadableMessage);
    EXPECT_THROW(read(nested(1000)), UnreadableMessage);
    EXPECT_EQ(read(multipart("mixed", {"\nfirst", nested(1000)})), "first");
    std::string messages = "Subject: x\n\ndeep";
    for (int i = 0; i < 100; ++i) {
        messages.insert(0, "Content-Type: message/rfc822\n\n");
    }
    EXPECT_THROW(read(messages), UnreadableMessage);
}

TEST(MessageText, ManyPartsAndLongTexts) {
    std::string parts = "Content-Type: multipart/mixed; boundary=x\n\n";
    for (int i = 0; i < 100'000; ++i) {
        parts += "--x\n\na\n";
    }
    EXPECT_EQ(read(parts).size(), 3U * 100'000 - 2);
    std::string text = "Content-Type: text/plain; charset=koi8-r\n\n";
    text.append(std::size_t{30} << 20U, '\xF0');
    EXPECT_EQ(read(text).size(), std::size_t{60} << 20U);
}

} // namespace
} // namespace velmiro::osascript
