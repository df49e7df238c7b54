// The adapter's calls of Contacts, and its use of their results.

#include "tests/macos/Failure.hpp"
#include "tests/macos/standin/StandIn.hpp"
#include "tests/support/FakeContactStore.hpp"

#include <algorithm>
#include <gtest/gtest.h>

using namespace velmiro;
using velmiro::test::failureOf;
using velmiro::test::FakeContacts;
using velmiro::test::StandIn;

namespace {

using Calls = std::vector<std::string>;

class ContactsTest : public testing::Test {
protected:
    ContactsTest() {
        standIn.reset();
        standIn.openContacts = data.platform().openStore;
        data.found = {{"anna", "Anna", "Berg", "Acme", {"a@x", "b@x"}, {"1", "2"}},
                      {"zoe", "Zoë", "Tal", "", {}, {}}};
    }
    ~ContactsTest() override { standIn.reset(); }

    static std::vector<Contact> search() {
        return openContactStore()->contactsMatchingName("berg");
    }

    StandIn& standIn = StandIn::shared();
    FakeContacts data;
};

constexpr const char* fetch = "unifiedContactsMatchingPredicate:keysToFetch:error:";

} // namespace

TEST_F(ContactsTest, EachStatusIsTheFrameworksOwn) {
    for (const int status : {0, 1, 2, 3, 4, 5}) {
        standIn.contactsStatus = status;
        EXPECT_EQ(static_cast<int>(contactsAuthorizationStatus()), status);
    }
    EXPECT_EQ(standIn.journal(), Calls(6, "contacts.authorizationStatusForEntityType: 0"));
}

TEST_F(ContactsTest, ExactlyFiveKeysAreFetchedInTheirOrder) {
    search();
    EXPECT_EQ(standIn.journal().back(),
              std::string{fetch} +
                  " givenName, familyName, organizationName, emailAddresses, phoneNumbers");
}

TEST_F(ContactsTest, EachSearchPassesTheQueryUnchangedToAStoreOfItsOwn) {
    openContactStore()->contactsMatchingName("  O’Brien, Zoë\n");
    openContactStore()->contactsMatchingName("");
    const Calls journal = standIn.journal();
    EXPECT_EQ(std::ranges::count(journal, "CNContactStore init"), 2);
    EXPECT_EQ(std::ranges::count(journal, "predicateForContactsMatchingName:   O’Brien, Zoë\n"), 1);
    EXPECT_EQ(data.journal, (Calls{"openContactStore", "contactsMatchingName   O’Brien, Zoë\n",
                                   "openContactStore", "contactsMatchingName "}));
}

TEST_F(ContactsTest, EveryPropertyOfAContactArrivesWithoutLabels) {
    const auto found = search();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].identifier, "anna");
    EXPECT_EQ(found[0].givenName, "Anna");
    EXPECT_EQ(found[0].familyName, "Berg");
    EXPECT_EQ(found[0].organization, "Acme");
    EXPECT_EQ(found[0].emails, (Calls{"a@x", "b@x"}));
    EXPECT_EQ(found[0].phones, (Calls{"1", "2"}));
    EXPECT_EQ(found[1].identifier, "zoe");
    EXPECT_EQ(found[1].emails, Calls{});
}

TEST_F(ContactsTest, EveryPropertyMayBeNil) {
    standIn.nils = {"contact.identifier",       "contact.givenName",      "contact.familyName",
                    "contact.organizationName", "contact.emailAddresses", "contact.phoneNumbers"};
    const auto found = search();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].identifier + found[0].givenName + found[0].familyName, "");
    EXPECT_EQ(found[0].organization, "");
    EXPECT_EQ(found[0].emails, Calls{});
    EXPECT_EQ(found[0].phones, Calls{});
}

TEST_F(ContactsTest, AnEntryWithoutAValueIsEmpty) {
    standIn.nils = {"labeled.value"};
    EXPECT_EQ(search().at(0).emails, (Calls{"", ""}));
    EXPECT_EQ(search().at(0).phones, (Calls{"", ""}));
    standIn.nils = {"phone.stringValue"};
    EXPECT_EQ(search().at(0).phones, (Calls{"", ""}));
}

TEST_F(ContactsTest, AFetchThatFailsGivesTheErrorsDescription) {
    standIn.errors[fetch] = "Zugriff verweigert.";
    EXPECT_EQ(failureOf(search), "Zugriff verweigert.");
}

TEST_F(ContactsTest, NoArrayWithoutAnErrorIsNoContacts) {
    standIn.refusals = {fetch};
    EXPECT_TRUE(search().empty());
}

TEST_F(ContactsTest, WhateverRaisesIsAnErrorWithItsReason) {
    for (const char* call : {"CNContactStore init", "predicateForContactsMatchingName:", fetch,
                             "contact.givenName", "contact.emailAddresses", "phone.stringValue"}) {
        standIn.raises = {{call, std::string{"no "} + call}};
        EXPECT_EQ(failureOf(search), std::string{"no "} + call);
    }
    standIn.raises = {{"contacts.authorizationStatusForEntityType:", "raised"}};
    EXPECT_EQ(failureOf([] { contactsAuthorizationStatus(); }), "raised");
}
