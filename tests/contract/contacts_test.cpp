// The contract of every platform: contacts.

#include "tests/contract/PlatformUnderTest.hpp"
#include "velmiro_mcp/ports/ContactStore.hpp"

using namespace velmiro;

namespace {

class ContactContract : public test::PlatformTest {
protected:
    static std::vector<std::string> found(const std::string& query) {
        std::vector<std::string> identifiers;
        for (const Contact& contact : openContactStore()->contactsMatchingName(query)) {
            identifiers.push_back(contact.identifier);
        }
        return identifiers;
    }
};

using Texts = std::vector<std::string>;

} // namespace

TEST_F(ContactContract, AccessIsGrantedToTheUsersOwnContacts) {
    addContact("anna", "N:Berg;Anna;;;\r\n");
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::authorized);
}

TEST_F(ContactContract, AccessIsDeniedWhereTheContactsCannotBeRead) {
    addFile("Contacts");
    EXPECT_EQ(contactsAuthorizationStatus(), ContactsAuthorizationStatus::denied);
}

TEST_F(ContactContract, PeopleAreFoundByTheirNamesInTheOrderOfTheStore) {
    addContact("c", "N:Berg;Zoë;;;\r\n");
    addContact("a", "N:Berg;Anna;;;\r\n");
    addContact("b", "N:Tal;Anna;;;\r\n");
    EXPECT_EQ(found("berg"), (Texts{"a", "c"}));
    EXPECT_EQ(found("Anna"), (Texts{"a", "b"}));
    EXPECT_EQ(found("Zoë Berg"), Texts{"c"});
}

TEST_F(ContactContract, WithoutAMatchNoneIsFound) {
    addContact("a", "N:Berg;Anna;;;\r\n");
    EXPECT_EQ(found("Miller"), Texts{});
    EXPECT_EQ(found(std::string{"Berg\0", 5} + "Miller"), Texts{});
}

TEST_F(ContactContract, AContactHasAllItsPropertiesInTheirOrder) {
    addContact("anna", "N:Bérg;Anna 🌸;;;\r\nORG:Acme\\, Inc.\r\nEMAIL;TYPE=WORK:z@acme.example\r\n"
                       "EMAIL:anna@example.org\r\nTEL;TYPE=CELL:+49 170 1\r\nTEL:0171\r\n");
    const auto contacts = openContactStore()->contactsMatchingName("anna");
    ASSERT_EQ(contacts.size(), 1U);
    EXPECT_EQ(contacts[0].identifier, "anna");
    EXPECT_EQ(contacts[0].givenName, "Anna 🌸");
    EXPECT_EQ(contacts[0].familyName, "Bérg");
    EXPECT_EQ(contacts[0].organization, "Acme, Inc.");
    EXPECT_EQ(contacts[0].emails, (Texts{"z@acme.example", "anna@example.org"}));
    EXPECT_EQ(contacts[0].phones, (Texts{"+49 170 1", "0171"}));
}

TEST_F(ContactContract, MissingPropertiesAreEmpty) {
    addContact("acme", "N:;;;;\r\nFN:Acme\r\nORG:Acme\r\n");
    const auto contacts = openContactStore()->contactsMatchingName("acme");
    ASSERT_EQ(contacts.size(), 1U);
    EXPECT_EQ(contacts[0].givenName, "");
    EXPECT_EQ(contacts[0].familyName, "");
    EXPECT_EQ(contacts[0].organization, "Acme");
    EXPECT_EQ(contacts[0].emails, Texts{});
    EXPECT_EQ(contacts[0].phones, Texts{});
}

TEST_F(ContactContract, EachSearchSeesTheCurrentContacts) {
    EXPECT_EQ(found("anna"), Texts{});
    addContact("anna", "N:Berg;Anna;;;\r\n");
    EXPECT_EQ(found("anna"), Texts{"anna"});
}
