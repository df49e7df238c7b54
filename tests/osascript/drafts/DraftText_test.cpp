#include "osascript/drafts/DraftText.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace velmiro::osascript {
namespace {

const DraftOrigin origin{Instant{std::chrono::milliseconds{1'700'000'000'999}}, "1.a@host"};

std::string bodyOf(const std::string& content) {
    const std::string text = draftText({"s", content, {}, {}}, origin);
    return text.substr(text.find("\n\n") + 2);
}

TEST(DraftText, HasTheFieldsOfADraftAndNoOthers) {
    const Draft draft{"Tea", "At four?", {{"", "a@b"}, {"Ünal", "c@d"}}, {{"", "e@f"}}};
    EXPECT_EQ(draftText(draft, origin), "Date: Tue, 14 Nov 2023 22:13:20 +0000\n"
                                        "Message-ID: <1.a@host>\n"
                                        "To: a@b, =?utf-8?Q?=C3=9Cnal?= <c@d>\n"
                                        "Cc: e@f\n"
                                        "Subject: Tea\n"
                                        "MIME-Version: 1.0\n"
                                        "Content-Type: text/plain; charset=utf-8\n"
                                        "Content-Transfer-Encoding: quoted-printable\n"
                                        "\n"
                                        "At four?\n");
}

TEST(DraftText, FromNamesTheSenderIfThereIsOne) {
    DraftOrigin known = origin;
    known.sender = Mailbox{"Mira Ünal", "mira@example.org"};
    const std::string text = draftText({}, known);
    EXPECT_NE(text.find("\nFrom: =?utf-8?Q?Mira_=C3=9Cnal?= <mira@example.org>\n"),
              std::string::npos);
    known.sender = Mailbox{"", "mira@example.org"};
    EXPECT_NE(draftText({}, known).find("\nFrom: mira@example.org\n"), std::string::npos);
    EXPECT_EQ(draftText({}, origin).find("From"), std::string::npos);
}

TEST(DraftText, WithoutRecipientsThereIsNoSuchField) {
    const std::string text = draftText({}, origin);
    EXPECT_EQ(text.find("\nTo:"), std::string::npos);
    EXPECT_EQ(text.find("\nCc:"), std::string::npos);
    EXPECT_NE(text.find("\nSubject: \n"), std::string::npos);
}

TEST(DraftText, NoTextMakesAField) {
    const std::string evil = "x\r\nBcc: v@w\n\nbody";
    const std::string text = draftText({evil, "body", {{evil, evil}, {"", evil}}, {}}, origin);
    EXPECT_EQ(text.find("\nBcc"), std::string::npos);
    EXPECT_EQ(text.find('\r'), std::string::npos);
    EXPECT_EQ(text.substr(text.find("\n\n")), "\n\nbody\n");
}

TEST(DraftText, BlanksAtTheEndOfALineAreEncoded) {
    EXPECT_EQ(bodyOf("a \nb\t\n \nlast "), "a=20\nb=09\n=20\nlast=20\n");
    EXPECT_EQ(bodyOf(""), "\n");
    EXPECT_EQ(bodyOf("\n\na\n\n"), "\n\na\n\n\n");
}

TEST(DraftText, CharactersBeyondASCIIAndControlsAreEncoded) {
    EXPECT_EQ(bodyOf("ü = \x01\x1b[m"), "=C3=BC =3D =01=1B[m\n");
    EXPECT_EQ(bodyOf(std::string{"a\0b", 3}), "a=00b\n");
}

TEST(DraftText, LineEndsAreLineFeedsAndALoneCarriageReturnStays) {
    EXPECT_EQ(bodyOf("a\r\nb\r\r\nc\r"), "a\nb\nc\n");
    EXPECT_EQ(bodyOf("a\rb"), "a=0Db\n");
}

TEST(DraftText, NoLineBeginsTheNextMessageOfAMailbox) {
    EXPECT_EQ(bodyOf("From here\n>From\nFrom\n From"), "=46rom here\n>From\nFrom\n From\n");
    // A soft line break can put the word at the beginning of a line, anywhere in a long text.
    std::string text;
    for (int line = 0; line < 3000; ++line) {
        text += std::string(static_cast<std::size_t>(line) % 90, 'x') + "From From here\n";
    }
    EXPECT_EQ(bodyOf(text).find("\nFrom "), std::string::npos);
}

TEST(DraftText, LinesAreShort) {
    const std::string body = bodyOf(std::string(5000, 'x') + std::string(5000, ' ') + "end");
    for (std::size_t begin = 0; begin < body.size();) {
        const std::size_t end = body.find('\n', begin);
        EXPECT_LE(end - begin, 78U);
        begin = end + 1;
    }
}

} // namespace
} // namespace velmiro::osascript
