#include "velmiro_mcp/platform/local/contacts/VCards.hpp"

#include "velmiro_mcp/platform/local/contacts/NameQuery.hpp"

#include <gtest/gtest.h>

// How one file of cards is read: each version and each feature of the format, and what is met in
// the wild.

namespace velmiro::local {
namespace {

using Texts = std::vector<std::string>;

std::vector<StoredContact> read(const std::string& bytes) {
    return readContactFile(bytes, "friends/anna.vcf").contacts;
}

std::string card(const std::string& lines, const std::string& version = "3.0") {
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "END:VCARD\r\n";
}

/// Returns the only contact of a file with one card of these lines.
Contact contact(const std::string& lines, const std::string& version = "3.0") {
    const auto contacts = read(card(lines, version));
    EXPECT_EQ(contacts.size(), 1U) << lines;
    return contacts.size() == 1 ? contacts.front().contact : Contact{};
}

/// Returns "Family|Given" for each contact of a file.
Texts names(const std::string& bytes) {
    Texts found;
    for (const StoredContact& stored : read(bytes)) {
        found.push_back(stored.contact.familyName + "|" + stored.contact.givenName);
    }
    return found;
}

std::string name(const std::string& lines, const std::string& version = "3.0") {
    const auto found = names(card(lines, version));
    return found.size() == 1 ? found.front() : "(" + std::to_string(found.size()) + " cards)";
}

bool isFoundBy(const std::string& query, const std::string& lines) {
    const auto contacts = read(card(lines));
    return contacts.size() == 1 && NameQuery{query}.matches(contacts.front().words);
}

TEST(Card, OfEachVersionIsRead) {
    for (const char* version : {"2.1", "3.0", "4.0"}) {
        const Contact anna = contact("N:Berg;Anna;Maria;Dr.;PhD\r\nFN:Dr. Anna Berg\r\n"
                                     "ORG:Acme;Research\r\nEMAIL;TYPE=INTERNET:anna@example.org\r\n"
                                     "TEL;TYPE=CELL:+49 170 1234\r\nUID:anna-1\r\n",
                                     version);
        EXPECT_EQ(anna.identifier, "anna-1");
        EXPECT_EQ(anna.familyName, "Berg");
        EXPECT_EQ(anna.givenName, "Anna");
        EXPECT_EQ(anna.organization, "Acme");
        EXPECT_EQ(anna.emails, Texts{"anna@example.org"});
        EXPECT_EQ(anna.phones, Texts{"+49 170 1234"});
    }
}

TEST(Card, WithoutAVersionIsRead) {
    EXPECT_EQ(names("BEGIN:VCARD\nN:Berg;Anna\nEND:VCARD\n"), Texts{"Berg|Anna"});
}

TEST(Card, NamesOfTheFormatAreReadInAnyCase) {
    EXPECT_EQ(names("begin:vcard\nversion:3.0\nn:Berg;Anna\nend:vcard\n"), Texts{"Berg|Anna"});
    EXPECT_EQ(names("Begin:vCard\nN:Berg;Anna\nEnd:vCard \n"), Texts{"Berg|Anna"});
}

TEST(Card, FoldedLinesAreJoinedAlsoWithinACharacter) {
    EXPECT_EQ(name("N:Be\r\n rg;An\n\tna\r\n"), "Berg|Anna");
    EXPECT_EQ(name("N:M\xC3\r\n \xBCller;Zo\xC3\n \xAB\r\n"), "Müller|Zoë");
    EXPECT_EQ(name("N\r\n :Berg;\r\n A\r\n n\r\n na\r\n"), "Berg|Anna");
    EXPECT_EQ(contact("N:a\r\nEMAIL;TYPE=WO\r\n RK:a@exam\r\n ple.org\r\n").emails,
              Texts{"a@example.org"});
}

TEST(Card, OfVersion21KeepsTheBlankOfAFold) {
    EXPECT_EQ(contact("N:a\r\nORG:Acme\r\n and Sons\r\n", "2.1").organization, "Acme and Sons");
    EXPECT_EQ(contact("N:a\r\nORG:Acme \r\n and Sons\r\n", "3.0").organization, "Acme and Sons");
}

TEST(Card, QuotedPrintableIsDecoded) {
    EXPECT_EQ(name("N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller;Zo=c3=ab\r\n", "2.1"),
              "Müller|Zoë");
    EXPECT_EQ(name("N;QUOTED-PRINTABLE:M=C3=BCller;Zo=C3=AB\r\n", "2.1"), "Müller|Zoë");
    EXPECT_EQ(name("N;encoding=\"quoted-printable\":M=C3=BCller;\r\n"), "Müller|");
}

TEST(Card, QuotedPrintableContinuesAfterASoftBreak) {
    EXPECT_EQ(name("N;ENCODING=QUOTED-PRINTABLE:Be=\r\nrg;A=\nnn=61\r\nEMAIL:x@y\r\n", "2.1"),
              "Berg|Anna");
    EXPECT_EQ(name("NOTE;ENCODING=QUOTED-PRINTABLE:one=\r\nN:Wrong=\r\nEND:VCARD=\r\n"
                   "BEGIN:VCARD=\r\n\r\nN:Berg;Anna\r\n",
                   "2.1"),
              "Berg|Anna");
}

TEST(Card, ASoftBreakMayStandWithinACharacterAndBeforeABlank) {
    EXPECT_EQ(name("N;ENCODING=QUOTED-PRINTABLE:M=C3=\r\n=BCller;A\r\n", "2.1"), "Müller|A");
    EXPECT_EQ(
        contact("N:a\r\nORG;ENCODING=QUOTED-PRINTABLE:Acme=\r\n and Sons\r\n", "2.1").organization,
        "Acme and Sons");
}

TEST(Card, AnEqualsSignThatBeginsNoCodeStays) {
    EXPECT_EQ(contact("N:a\r\nORG;ENCODING=QUOTED-PRINTABLE:a=b=zz=4=\r\n\r\n", "2.1").organization,
              "a=b=zz=4");
    EXPECT_EQ(contact("N:a\r\nORG:1+1=\r\nEMAIL:a@b\r\n").emails, Texts{"a@b"});
    EXPECT_EQ(contact("N:a\r\nORG:=41=\r\n").organization, "=41=");
}

TEST(Card, Base64IsDecoded) {
    EXPECT_EQ(contact("N:a\r\nORG;ENCODING=b:QWNt\r\n ZSAmIENv\r\n").organization, "Acme & Co");
    EXPECT_EQ(contact("N:a\r\nORG;BASE64:QWNtZQ==\r\n\r\n", "2.1").organization, "Acme");
    EXPECT_EQ(contact("N:a\r\nORG;ENCODING=BASE64:QWNt\r\n ZQ==\r\n", "2.1").organization, "Acme");
}

TEST(Card, ACharacterSetIsConverted) {
    EXPECT_EQ(name("N;CHARSET=ISO-8859-1:M\xFCller;Zo\xEB\r\n", "2.1"), "Müller|Zoë");
    EXPECT_EQ(name("N;CHARSET=windows-1252;QUOTED-PRINTABLE:=8Auljak;A\r\n", "2.1"), "Šuljak|A");
    EXPECT_EQ(name("N;CHARSET=Shift_JIS:\x8E\x52\x93\x63;\x91\xBE\x98\x59\r\n", "2.1"),
              "山田|太郎");
    // The second byte of ソ is a backslash.
    EXPECT_EQ(name("N;CHARSET=SHIFT_JIS;ENCODING=QUOTED-PRINTABLE:=83=5C;=83=5C\r\n", "2.1"),
              "ソ|ソ");
}

TEST(Card, ACharacterSetMeansTheLargestThatIsWrittenUnderItsName) {
    EXPECT_EQ(name("N;CHARSET=GB2312:\xD6\xEC;\xE9\x46\xBB\xF9\r\n", "2.1"), "朱|镕基");
    EXPECT_EQ(name("N;CHARSET=iso-8859-1:O\x92Neil;A\r\n", "2.1"), "O’Neil|A");
    EXPECT_EQ(name("N;CHARSET=ISO_8859-1:O\x92Neil;A\r\n", "2.1"), "O’Neil|A");
    EXPECT_EQ(name("N;CHARSET=US-ASCII:M\xFCller;A\r\n", "2.1"), "Müller|A");
    EXPECT_EQ(name("N;CHARSET=ISO-8859-9:O\x92Neil;A\r\n", "2.1"), "O’Neil|A");
    EXPECT_EQ(name("N;CHARSET=EUC-KR:\xB0\xA1;\x8C\x63\r\n", "2.1"), "가|똠");
}

TEST(Card, AnUnknownCharacterSetIsReadAsUTF8) {
    EXPECT_EQ(name("N;CHARSET=x-mine:Müller;\xFF\r\n", "2.1"), "Müller|\uFFFD");
    EXPECT_EQ(name("N;CHARSET=../../etc/passwd:Müller;A\r\n", "2.1"), "Müller|A");
}

TEST(Card, BytesThatAreNoTextBecomeReplacementCharacters) {
    EXPECT_EQ(name("N:M\xFCller;Zo\xEB\r\n"), "M\uFFFDller|Zo\uFFFD");
    EXPECT_EQ(contact("N:a\r\nUID:\xE4\r\n").identifier, "\uFFFD");
}

TEST(Card, ControlCharactersAndBreaksBecomeBlanks) {
    EXPECT_EQ(contact("N:a\r\nORG:Acme\\nand\tSons\x01\x1B[31m\x7F\r\n").organization,
              "Acme and Sons  [31m");
    EXPECT_EQ(contact("N:a\r\nORG:A" + std::string{'\0'} + "B\r\nUID:u\r\n").organization, "A B");
}

TEST(Card, AByteOrderMarkIsNoText) {
    EXPECT_EQ(names("\xEF\xBB\xBF" + card("N:Berg;Anna\r\n")), Texts{"Berg|Anna"});
    EXPECT_EQ(names(card("N:A\r\n") + "\xEF\xBB\xBF" + card("N:B\r\n")), (Texts{"A|", "B|"}));
}

TEST(Card, UTF16IsReadInBothOrders) {
    const std::string text = card("N:Berg;Zo\xEB\r\n");
    std::string little{"\xFF\xFE"};
    std::string big{"\xFE\xFF"};
    for (const char letter : text) {
        little += letter;
        little += '\0';
        big += '\0';
        big += letter;
    }
    EXPECT_EQ(names(little), Texts{"Berg|Zoë"});
    EXPECT_EQ(names(big), Texts{"Berg|Zoë"});
    EXPECT_EQ(names(big + "\xD8"), Texts{"Berg|Zoë"});
}

TEST(Card, AGroupBeforeANameDoesNotCount) {
    const Contact anna = contact("item1.N:Berg;Anna\r\nitem1.EMAIL;type=pref:a@b\r\n"
                                 "item1.X-ABLabel:_$!<Other>!$_\r\nITEM2.tel:1\r\n");
    EXPECT_EQ(anna.familyName, "Berg");
    EXPECT_EQ(anna.emails, Texts{"a@b"});
    EXPECT_EQ(anna.phones, Texts{"1"});
}

TEST(Card, ParametersMayBeQuotedOrHaveNoName) {
    const Contact anna = contact(
        "N;SORT-AS=\"Berg;A:B\",\"x;y\":Berg;Anna\r\nTEL;HOME;CELL:1\r\nTEL;WORK;VOICE:2\r\n"
        "EMAIL;TYPE=\"home,work\";X-A=\"b;ENCODING=BASE64\":a@b\r\nTEL;:3\r\nTEL;=;TYPE=:4\r\n",
        "4.0");
    EXPECT_EQ(anna.familyName, "Berg");
    EXPECT_EQ(anna.phones, (Texts{"1", "2", "3", "4"}));
    EXPECT_EQ(anna.emails, Texts{"a@b"});
}

TEST(Card, CaretsInAParameterAreNoQuotes) {
    EXPECT_EQ(contact("N:Berg;Anna\r\nTEL;LABEL=\"the ^'big^' one^n:^^\":1\r\n", "4.0").phones,
              Texts{"1"});
}

TEST(Card, EscapesAreUndone) {
    const Contact anna =
        contact("N:Berg\\; von\\, zu;An\\\\na\r\nORG:Acme\\, Inc.\\; West;Unit\r\n");
    EXPECT_EQ(anna.familyName, "Berg; von, zu");
    EXPECT_EQ(anna.givenName, "An\\na");
    EXPECT_EQ(anna.organization, "Acme, Inc.; West");
    EXPECT_EQ(contact("N:a\r\nORG:A\\Nb\\:c\\\r\n").organization, "A b\\:c\\");
}

TEST(CardName, SeveralValuesOfAComponentAreJoinedWithBlanks) {
    EXPECT_EQ(name("N:García,Márquez;Gabriel,José;de la,Concordia;;\r\n"),
              "García Márquez|Gabriel José");
    EXPECT_EQ(name("N: Berg , ;,Anna,;\r\n"), "Berg|Anna");
}

TEST(CardName, MissingComponentsAreEmpty) {
    EXPECT_EQ(name("N:Berg\r\n"), "Berg|");
    EXPECT_EQ(name("N:;Anna\r\n"), "|Anna");
    EXPECT_EQ(name("N:;;;;\r\nFN:Anna\r\n"), "|");
    EXPECT_EQ(name("N:Berg;Anna;Maria;;;;;;x\r\n"), "Berg|Anna");
}

TEST(CardName, TheFirstOfSeveralCounts) {
    EXPECT_EQ(
        name("N;ALTID=1;LANGUAGE=ja:山田;太郎\r\nN;ALTID=1;LANGUAGE=en:Yamada;Taro\r\n", "4.0"),
        "山田|太郎");
    EXPECT_EQ(name("FN:Anna\r\nFN:Other\r\n", "4.0"), "|Anna");
}

TEST(CardName, TheFormattedNameReplacesAMissingName) {
    EXPECT_EQ(name("FN:Anna Berg\r\n", "4.0"), "|Anna Berg");
    EXPECT_EQ(name("FN: Anna\\, Berg \r\nORG:Acme\r\n", "4.0"), "|Anna, Berg");
}

TEST(CardName, TheFormattedNameDoesNotReplaceAnEmptyOne) {
    EXPECT_EQ(name("FN:Anna Berg\r\nN:;;;;\r\n"), "|");
    EXPECT_TRUE(isFoundBy("anna", "FN:Anna Berg\r\nN:;;;;\r\n"));
}

TEST(CardName, OfACompanyIsItsOrganization) {
    for (const char* lines :
         {"FN:Acme\r\nORG:Acme\r\n", "FN:Acme\r\nORG:Acme;West\r\n", "KIND:org\r\nFN:Acme\r\n",
          "FN:Acme\r\nX-ABShowAs:COMPANY\r\n", "KIND:ORG\r\nFN:Acme Inc.\r\nORG:Acme\r\n",
          "N:;;;;\r\nFN:Acme\r\nORG:Acme\r\nX-ABShowAs:company\r\n"}) {
        const Contact acme = contact(lines, "4.0");
        EXPECT_EQ(acme.givenName + acme.familyName, "") << lines;
        EXPECT_EQ(acme.organization, "Acme") << lines;
    }
}

TEST(CardName, OfACompanyThatNamesAPersonIsThePersons) {
    EXPECT_EQ(name("N:Berg;Anna\r\nFN:Acme\r\nORG:Acme\r\nX-ABShowAs:COMPANY\r\n"), "Berg|Anna");
}

TEST(CardSearch, LooksAtNamesNicknamesAndTheOrganization) {
    const std::string lines =
        "N:Berg;Anna;Maria;Professor;Junior\r\nFN:Frau Berg\r\n"
        "NICKNAME:Annie,The Mountain\r\nORG:Acme;Research\r\n"
        "EMAIL:mail@example.org\r\nTEL:4711\r\nTITLE:Boss\r\nNOTE:Friendly\r\n";
    for (const char* query : {"anna", "berg", "maria", "frau", "annie", "mountain", "acme",
                              "Anna Maria Berg", "acme annie"}) {
        EXPECT_TRUE(isFoundBy(query, lines)) << query;
    }
    for (const char* query : {"professor", "junior", "research", "mail", "example", "4711", "boss",
                              "friendly", "anna research"}) {
        EXPECT_FALSE(isFoundBy(query, lines)) << query;
    }
}

TEST(CardSearch, FindsAJapaneseNameWholeAndByItsParts) {
    for (const char* query : {"山田", "太郎", "山田太郎", "山田 太郎"}) {
        EXPECT_TRUE(isFoundBy(query, "N:山田;太郎\r\nFN:山田 太郎\r\n")) << query;
    }
    EXPECT_TRUE(isFoundBy("山田", "FN:山田太郎\r\n"));
    EXPECT_FALSE(isFoundBy("berganna", "N:Berg;Anna\r\n"));
}

TEST(CardNumber, OfAURIIsWhatIsDialled) {
    EXPECT_EQ(contact("N:a\r\nTEL;VALUE=uri;TYPE=\"voice,home\":tel:+1-555-555-5555;ext=5555\r\n"
                      "TEL;VALUE=uri:TEL:+33-01-23-45-67\r\n"
                      "TEL;VALUE=URI:tel:7042;phone-context=example.org;EXT=9\r\n"
                      "TEL;VALUE=uri:sip:anna@example.org\r\nTEL:tel:\r\nTEL:tel:1;ext=\r\n",
                      "4.0")
                  .phones,
              (Texts{"+1-555-555-5555 ext. 5555", "+33-01-23-45-67", "7042 ext. 9",
                     "sip:anna@example.org", "1"}));
}

TEST(CardNumber, AndAddressAreListedAsWrittenAndInTheirOrder) {
    const Contact anna = contact("N:a\r\nTEL:(0)30 / 12-34 \r\nTEL:\r\nTEL:b\r\nTEL:b\r\nTEL: \r\n"
                                 "EMAIL;PREF=2:z@z\r\nEMAIL;PREF=1:mailto:a@a\r\nEMAIL:\r\n");
    EXPECT_EQ(anna.phones, (Texts{"(0)30 / 12-34", "b", "b"}));
    EXPECT_EQ(anna.emails, (Texts{"z@z", "a@a"}));
}

TEST(CardIdentifier, IsTheUIDAsItStands) {
    EXPECT_EQ(contact("N:a\r\nUID:urn:uuid:4fbe8971-0bc3\r\nUID:other\r\n").identifier,
              "urn:uuid:4fbe8971-0bc3");
}

TEST(CardIdentifier, ComesFromTheFileWhereThereIsNone) {
    const auto contacts =
        read(card("N:A\r\n") + card("N:B\r\nUID:b\r\n") + card("N:C\r\nUID: \r\n") +
             card("NOTE:nobody\r\n") + card("N:D\r\n"));
    ASSERT_EQ(contacts.size(), 4U);
    EXPECT_EQ(contacts[0].contact.identifier, "friends/anna.vcf");
    EXPECT_EQ(contacts[1].contact.identifier, "b");
    EXPECT_EQ(contacts[2].contact.identifier, "friends/anna.vcf#2");
    EXPECT_EQ(contacts[3].contact.identifier, "friends/anna.vcf#4");
    EXPECT_EQ(readContactFile(card("N:A\r\n"), "f\xFF.vcf").contacts.at(0).contact.identifier,
              "f\uFFFD.vcf");
}

TEST(CardFile, HoldsAllItsCardsInTheirOrder) {
    EXPECT_EQ(names(card("N:C\r\n") + "\r\n\r\n" + card("N:A\r\n", "4.0") + card("N:B\r\n", "2.1")),
              (Texts{"C|", "A|", "B|"}));
}

TEST(CardFile, ACardInsideAnotherIsNotTheOther) {
    const std::string agent = "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Friday;Fred\r\nTEL:2\r\nUID:fred\r\n"
                              "END:VCARD\r\n";
    for (const std::string& before : {"AGENT:\r\n" + agent, "AGENT:\r\n\r\n" + agent,
                                      "AGENT:" + agent, "AGENT;X=y:\r\n" + agent}) {
        const auto contacts =
            read(card(before + "N:Berg;Anna\r\nTEL:1\r\n", "2.1") + card("N:B\r\n"));
        ASSERT_EQ(contacts.size(), 2U) << before;
        EXPECT_EQ(contacts[0].contact.familyName, "Berg");
        EXPECT_EQ(contacts[0].contact.phones, Texts{"1"});
        EXPECT_EQ(contacts[1].contact.familyName, "B");
    }
    EXPECT_EQ(name("AGENT:BEGIN:VCARD\\nFN:Susan\\nEND:VCARD\\n\r\nN:Berg;Anna\r\n"), "Berg|Anna");
    EXPECT_EQ(name("AGENT:BEGIN:VCARD\r\n VERSION:3.0\r\n N:Friday;Fred\r\n TEL:2\r\n END:VCARD\r\n"
                   "N:Berg;Anna\r\n"),
              "Berg|Anna")
        << "folded";
    EXPECT_EQ(name("AGENT:begin:vcard\r\n N:Friday;Fred\r\n end:vcard\r\nN:Berg;Anna\r\n"),
              "Berg|Anna");
    EXPECT_EQ(name("AGENT:BEGIN:VCA\r\n RD\r\n N:Friday\r\nTEL:2\r\nEND:VCARD\r\nN:Berg;Anna\r\n"),
              "Berg|Anna")
        << "folded in part, ended on a line of its own";
    EXPECT_EQ(name("AGENT;VALUE=uri:CID:a@b\r\nN:Berg;Anna\r\n"), "Berg|Anna");
}

TEST(CardFile, GroupsAreNoPeople) {
    EXPECT_EQ(names(card("KIND:group\r\nFN:Friends\r\nMEMBER:urn:uuid:1\r\n", "4.0") +
                    card("FN:Friends\r\nN:Friends\r\nX-ADDRESSBOOKSERVER-KIND:group\r\n") +
                    card("KIND:individual\r\nFN:Anna\r\n", "4.0")),
              Texts{"|Anna"});
}

TEST(CardFile, ACardThatNamesNobodyIsSkipped) {
    EXPECT_EQ(names(card("EMAIL:a@b\r\n") + card("") + card("FN:!!!\r\n") + card("FN:Anna\r\n")),
              Texts{"|Anna"});
}

TEST(CardFile, ACardThatIsCutOffHidesNoOther) {
    const std::string half = "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Half\r\n";
    EXPECT_EQ(names(half), Texts{});
    EXPECT_EQ(names(half + card("N:Whole\r\n")), Texts{"Whole|"});
    EXPECT_EQ(names(card("N:First\r\n") + half), Texts{"First|"});
    EXPECT_EQ(names(half + "AGENT:\r\n" + card("N:Agent\r\n") + card("N:Whole\r\n")),
              Texts{"Whole|"});
    const std::string whole = card("N:Berg;Anna\r\n");
    for (std::size_t length = 0; length < whole.size() - 2; ++length) {
        EXPECT_EQ(names(whole.substr(0, length)).size(), 0U) << length;
        EXPECT_EQ(names(whole.substr(0, length) + "\r\n" + whole).size(), 1U) << length;
    }
    EXPECT_EQ(names(whole.substr(0, whole.size() - 2)), Texts{"Berg|Anna"});
}

TEST(CardFile, FilesConcatenatedWithoutALineBreakAreRead) {
    const std::string whole = card("N:A\r\n");
    EXPECT_EQ(names(whole.substr(0, whole.size() - 2) + card("N:B\r\n")), (Texts{"A|", "B|"}));
}

TEST(CardFile, MalformedLinesAreSkipped) {
    EXPECT_EQ(name("this is no line\r\n\r\nN\r\nTEL;TYPE=\"home:1\r\n:x\r\n;:\r\nN:Berg;Anna\r\n"
                   "BEGIN:VEVENT\r\nEND:VEVENT\r\n"),
              "Berg|Anna");
    EXPECT_EQ(names("Dear diary,\nBEGIN:VCARD is a nice line\nEND:VCARD\n"), Texts{});
    EXPECT_EQ(names("N:Berg;Anna\nEND:VCARD\nEND:VCARD\n" + card("N:A\r\n")), Texts{"A|"});
    EXPECT_EQ(names(""), Texts{});
    EXPECT_EQ(names("\n"), Texts{});
}

TEST(CardFile, APhotographCostsNothingAndHidesNothing) {
    std::string photo = "PHOTO;ENCODING=b;TYPE=JPEG:";
    std::string bare = "PHOTO;BASE64:\r\n";
    for (int line = 0; line < 50'000; ++line) {
        photo += "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgMCAgMDAwMEAwMEBQgFBQQEBQoHBwYI\r\n ";
        bare += "/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgMCAgMDAwMEAwMEBQgFBQQEBQoHBwYI=\r\n";
    }
    EXPECT_EQ(name(photo + "==\r\nN:Berg;Anna\r\n"), "Berg|Anna");
    EXPECT_EQ(name(bare + "\r\nN:Berg;Anna\r\n", "2.1"), "Berg|Anna");
}

TEST(CardFile, AValueMuchLongerThanANameIsSkipped) {
    EXPECT_EQ(name("N:" + std::string(16'000, 'x') + "\r\n"), std::string(16'000, 'x') + "|");
    EXPECT_EQ(name("N:" + std::string(17'000, 'x') + "\r\nN:Berg;Anna\r\n"), "Berg|Anna");
}

} // namespace
} // namespace velmiro::local
