#include "velmiro_mcp/platform/local/contacts/VCards.hpp"

#include "MCPStdio/text/UTF8.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

// Cards come from strangers: whatever a file contains, reading it must end soon, with valid text.

namespace velmiro::local {
namespace {

const std::vector<std::string>& samples() {
    static const std::vector<std::string> all{
        "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FC=\r\n"
        "ller;Anna\r\nFN;QUOTED-PRINTABLE:Anna M=C3=BCller\r\nTEL;HOME;CELL:+49 30 1\r\n"
        "AGENT:\r\nBEGIN:VCARD\r\nN:Friday;Fred\r\nEND:VCARD\r\nORG;BASE64:QWNt\r\n ZQ==\r\n\r\n"
        "END:VCARD\r\n",
        "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Berg\\;x;Anna,Maria;de la;Dr.;\r\nFN:Dr. Anna\r\n  "
        "Berg\r\n"
        "item1.EMAIL;type=INTERNET;type=pref:anna@example.org\r\nitem1.X-ABLabel:_$!<Other>!$_\r\n"
        "ORG:Acme\\, Inc.;Research\r\nPHOTO;ENCODING=b:/9j/4AAQ\r\n SkZJRg==\r\nUID:anna-1\r\n"
        "X-ABShowAs:COMPANY\r\nEND:VCARD\r\n",
        "BEGIN:VCARD\nVERSION:4.0\nKIND:individual\nN;SORT-AS=\"Yamada,Taro\":山田;太郎;;;\n"
        "FN;LANGUAGE=ja:山田 太郎\nNICKNAME:ﬁfi,Straße\nTEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-5;"
        "ext=5\nEMAIL:mailto:a@b\nUID:urn:uuid:4fbe8971\nEND:VCARD\n",
        "\xEF\xBB\xBF"
        "BEGIN:VCARD\nN;CHARSET=Shift_JIS:\x8E\x52\x93\x63;\x83\x5C\nKIND:group\n"
        "NOTE;ENCODING=QUOTED-PRINTABLE:a=\nb=\nc\nEND:VCARDBEGIN:VCARD\nFN:Zo\xEB\nEND:VCARD\n"};
    return all;
}

std::string damaged(std::string text, std::mt19937& random) {
    const auto anyOf = [&](std::size_t count) {
        return random() % std::max<std::size_t>(count, 1);
    };
    for (std::size_t count = 1 + anyOf(8); count > 0; --count) {
        const std::size_t position = anyOf(text.size());
        switch (anyOf(6)) {
        case 0:
            text.insert(position, 1, static_cast<char>(random()));
            break;
        case 1:
            text.erase(position, anyOf(20));
            break;
        case 2:
            text.insert(position, text.substr(anyOf(text.size()), anyOf(40)));
            break;
        case 3:
            text.insert(position, samples()[anyOf(samples().size())].substr(0, anyOf(200)));
            break;
        case 4:
            text.resize(position);
            break;
        default:
            text.insert(position, 1, "=;:,.\\\"\r\n \t^%\0\xFF\xC3"[anyOf(16)]);
        }
    }
    return text;
}

void expectText(const std::string& text) {
    EXPECT_TRUE(MCPStdio::isValidUTF8(text));
    for (const char letter : text) {
        EXPECT_FALSE(letter >= '\0' && letter < ' ');
    }
}

void expectSane(const ContactFile& file) {
    for (const auto& [contact, words] : file.contacts) {
        EXPECT_FALSE(contact.identifier.empty());
        EXPECT_TRUE(words.starts_with(' '));
        expectText(words);
        for (const std::string* text : {&contact.identifier, &contact.givenName,
                                        &contact.familyName, &contact.organization}) {
            expectText(*text);
        }
        for (const auto* list : {&contact.emails, &contact.phones}) {
            for (const std::string& text : *list) {
                EXPECT_FALSE(text.empty());
                expectText(text);
            }
        }
    }
}

void fuzz(unsigned seed, int rounds) {
    std::mt19937 random{seed};
    for (int round = 0; round < rounds; ++round) {
        std::string text;
        for (std::size_t count = 1 + random() % 3; count > 0; --count) {
            text += samples()[random() % samples().size()];
        }
        expectSane(readContactFile(damaged(std::move(text), random), "file.vcf"));
        if (testing::Test::HasFailure()) {
            FAIL() << "seed " << seed << ", round " << round;
        }
    }
}

TEST(CardFuzz, DamagedCardsAreReadAsTextOrNotAtAll) {
    fuzz(1, 10'000);
}

TEST(CardFuzz, ARandomSeedFindsNothingElse) {
    fuzz(std::random_device{}(), 10'000);
}

TEST(CardFuzz, NoiseIsNoCard) {
    std::mt19937 random{2};
    for (int round = 0; round < 2000; ++round) {
        std::string noise(random() % 300, '\0');
        for (char& byte : noise) {
            byte = static_cast<char>(random());
        }
        expectSane(readContactFile(noise, "noise.vcf"));
        expectSane(readContactFile("\xFF\xFE" + noise, "noise.vcf"));
        expectSane(
            readContactFile("BEGIN:VCARD\nFN;CHARSET=UTF-7:" + noise + "\nEND:VCARD\n", "n"));
    }
}

/// Reads a file that repeats `again` for ten megabytes, with text before and after it, and counts
/// its cards.
std::size_t cardsIn(const std::string& before, const std::string& again,
                    const std::string& after = "") {
    std::string bytes = before;
    while (bytes.size() < 10'000'000) {
        bytes += again;
    }
    return readContactFile(bytes + after + "\nEND:VCARD\n", "large.vcf").contacts.size();
}

TEST(CardFuzz, TenMegabytesOfAnythingAreReadInOnePass) {
    const std::string begin = "BEGIN:VCARD\nN:Berg\n";
    EXPECT_EQ(cardsIn(begin + "NOTE:", "x"), 1U);
    EXPECT_EQ(cardsIn(begin, "x"), 1U);
    EXPECT_EQ(cardsIn(begin + "TEL", ";"), 1U);
    EXPECT_EQ(cardsIn(begin + "TEL;", "\"", ":1"), 1U);
    EXPECT_EQ(cardsIn(begin, "\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "\n "), 1U);
    EXPECT_EQ(cardsIn(begin, ":=\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "A;QUOTED-PRINTABLE:=\n"), 1U);
    EXPECT_EQ(cardsIn(begin + "N;QUOTED-PRINTABLE:", "=\n", "\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "AGENT:\nBEGIN:VCARD\n"), 0U);
    EXPECT_EQ(cardsIn(begin, "BEGIN:VCARD\n"), 0U);
    EXPECT_EQ(cardsIn(begin, "END:VCARD\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "FN;CHARSET=x-unknown-1;QUOTED-PRINTABLE:Zo=EB\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "FN;CHARSET=ISO-2022-JP:\x1B$B;3ED\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "NICKNAME:é,é,é,é,é,é,é,é,é,é,é,é,é,é\n"), 1U);
    EXPECT_EQ(cardsIn(begin, "EMAIL:a@b\n"), 1U);
    EXPECT_EQ(cardsIn("", "\xFF"), 0U);
    EXPECT_EQ(cardsIn("", std::string(1, '\0')), 0U);
}

TEST(CardFuzz, AFileHoldsABoundedNumberOfPeople) {
    EXPECT_EQ(cardsIn("", "BEGIN:VCARD\nN:a\nEND:VCARD\n"), mostCards);
}

} // namespace
} // namespace velmiro::local
