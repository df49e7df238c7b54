#include "MCPStdio/concurrency/SyncWait.hpp"
#include "tests/support/FakeContactStore.hpp"
#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using MCPStdio::syncWait;
using velmiro::test::FakeContacts;

namespace {

using Journal = std::vector<std::string>;

class ContactsTools : public testing::Test {
protected:
    FakeContacts contacts;
    MCPStdio::MCPTool tool = contactsTools(contacts.platform()).at(0);

    MCPToolResult search(std::string_view arguments) {
        return syncWait(tool.handler(JSONValue::parse(arguments)));
    }
    std::string failure(std::string_view arguments) {
        try {
            search(arguments);
            return "no failure";
        } catch (const MCPToolError& error) {
            return error.message;
        }
    }
    /// Returns the contacts found, as compact JSON.
    std::string records(std::string_view arguments) {
        const auto payload = JSONValue::parse(search(arguments).text);
        return payload["contacts"]->jsonString();
    }
    std::size_t count(std::string_view arguments) {
        return JSONValue::parse(search(arguments).text)["contacts"]->arrayValue()->size();
    }
    void store(std::size_t number) {
        for (std::size_t index = 0; index < number; ++index) {
            contacts.found.push_back({"c" + std::to_string(index), "Anna", "", "", {}, {}});
        }
    }
};

} // namespace

TEST_F(ContactsTools, AnnounceThemselves) {
    EXPECT_EQ(tool.name, "contacts_search");
    EXPECT_EQ(tool.description, "Find people in the user's contacts by name.");
    EXPECT_TRUE(tool.readOnly);
    EXPECT_EQ(tool.inputSchema.jsonString(),
              R"({"additionalProperties":false,"properties":{"limit":{"maximum":50,"minimum":1,)"
              R"("type":"integer"},"query":{"type":"string"}},"required":["query"],)"
              R"("type":"object"})");
}

TEST_F(ContactsTools, NoMatchIsAnEmptyListAndNoError) {
    EXPECT_EQ(search(R"({"query":"anna"})"), (MCPToolResult{"{\n  \"contacts\" : []\n}", false}));
    EXPECT_EQ(contacts.journal,
              (Journal{"authorizationStatus", "openContactStore", "contactsMatchingName anna"}));
}

TEST_F(ContactsTools, ARecordHasAllFiveKeysAndTheFamilyNameFirst) {
    contacts.found = {{"c1", "Anna", "Berg", "Acme/West", {"a@example.org"}, {"+49 30 1234"}}};
    EXPECT_EQ(search(R"({"query":"berg"})").text, R"({
  "contacts" : [
    {
      "emails" : [
        "a@example.org"
      ],
      "id" : "c1",
      "name" : "Berg Anna",
      "organization" : "Acme/West",
      "phones" : [
        "+49 30 1234"
      ]
    }
  ]
})");
}

TEST_F(ContactsTools, AnEmptyPartOfANameIsLeftOut) {
    contacts.found = {{"c1", "Anna", "", "", {}, {}}, {"c2", "", "Berg", "", {}, {}}};
    EXPECT_EQ(records(R"({"query":"x"})"),
              R"([{"emails":[],"id":"c1","name":"Anna","organization":"","phones":[]},)"
              R"({"emails":[],"id":"c2","name":"Berg","organization":"","phones":[]}])");
}

TEST_F(ContactsTools, ACompanyHasNoNameAndItsOrganization) {
    contacts.found = {{"c1", "", "", "Acme", {}, {}}};
    EXPECT_EQ(records(R"({"query":"acme"})"),
              R"([{"emails":[],"id":"c1","name":"","organization":"Acme","phones":[]}])");
}

TEST_F(ContactsTools, AllAddressesAndNumbersAreListedInTheirOrder) {
    contacts.found = {{"c1", "Anna", "", "", {"c@x", "a@x", "b@x"}, {"2", "1", "2"}}};
    EXPECT_EQ(records(R"({"query":"anna","limit":1})"),
              R"([{"emails":["c@x","a@x","b@x"],"id":"c1","name":"Anna","organization":"",)"
              R"("phones":["2","1","2"]}])");
}

TEST_F(ContactsTools, TenOfThirtyAreListedUnlessALimitSaysOtherwise) {
    store(30);
    EXPECT_EQ(count(R"({"query":"anna"})"), 10U);
    EXPECT_EQ(count(R"({"query":"anna","limit":null})"), 10U);
    EXPECT_EQ(count(R"({"query":"anna","limit":50})"), 30U);
    EXPECT_EQ(count(R"({"query":"anna","limit":1})"), 1U);
    EXPECT_EQ(count(R"({"query":"anna","limit":"12"})"), 12U);
}

TEST_F(ContactsTools, TheLimitCountsContactsAndNotAddresses) {
    contacts.found = {{"c1", "Anna", "", "", {"a@x", "b@x", "c@x"}, {"1", "2"}},
                      {"c2", "Bert", "", "", {}, {}},
                      {"c3", "Cara", "", "", {}, {}}};
    EXPECT_EQ(count(R"({"query":"x","limit":2})"), 2U);
}

TEST_F(ContactsTools, TheOrderIsTheStoresOwn) {
    contacts.found = {{"z", "Zoe", "", "", {}, {}}, {"a", "Anna", "", "", {}, {}}};
    EXPECT_TRUE(records(R"({"query":"x"})").starts_with(R"([{"emails":[],"id":"z")"));
}

TEST_F(ContactsTools, TheQueryIsTrimmedAndOtherwisePassedOnUnchanged) {
    search("{\"query\":\"  Zoë  O'Brien \\n\"}");
    EXPECT_EQ(contacts.journal.back(), "contactsMatchingName Zoë  O'Brien");
}

TEST_F(ContactsTools, AQueryThatIsMissingBlankOrNoStringIsRefused) {
    for (const char* arguments :
         {"{}", "null", R"({"query":null})", R"({"query":5})", R"({"query":["anna"]})",
          R"({"query":""})", R"({"query":" \t\n"})"}) {
        EXPECT_EQ(failure(arguments), "‘query’ is required") << arguments;
    }
    EXPECT_EQ(contacts.journal, Journal{});
}

TEST_F(ContactsTools, ALimitOutOfRangeOrNoWholeNumberIsRefused) {
    for (const char* limit : {"0", "51", "-1", "\"ten\"", "true", "[]", "1e99"}) {
        EXPECT_EQ(failure(R"({"query":"anna","limit":)" + std::string{limit} + "}"),
                  "‘limit’ must be a whole number from 1 to 50")
            << limit;
    }
    EXPECT_EQ(contacts.journal, Journal{});
}

TEST_F(ContactsTools, AnythingButFullAccessIsRefusedBeforeAStoreIsOpened) {
    using enum ContactsAuthorizationStatus;
    for (const auto access : {notDetermined, restricted, denied, limited}) {
        contacts.access = access;
        EXPECT_EQ(failure(R"({"query":"anna"})"),
                  "Velmiro has no access to Contacts. Ask the user to turn it on in Velmiro › "
                  "Settings › Connectors.");
    }
    EXPECT_EQ(contacts.journal, Journal(4, "authorizationStatus"));
}

TEST_F(ContactsTools, ArgumentsAreCheckedBeforeAccess) {
    contacts.access = ContactsAuthorizationStatus::denied;
    EXPECT_EQ(failure("{}"), "‘query’ is required");
    EXPECT_EQ(failure(R"({"limit":0})"), "‘query’ is required");
    EXPECT_EQ(failure(R"({"query":"a","limit":0})"), "‘limit’ must be a whole number from 1 to 50");
    EXPECT_EQ(contacts.journal, Journal{});
}

TEST_F(ContactsTools, AFailedFetchIsThePlatformsErrorUnchanged) {
    contacts.searchError = "the disk is on fire";
    try {
        search(R"({"query":"anna"})");
        ADD_FAILURE() << "no failure";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "the disk is on fire");
    }
}

TEST_F(ContactsTools, EachCallAsksForAccessAndOpensAStoreOfItsOwn) {
    search(R"({"query":"anna"})");
    search(R"({"query":"bert"})");
    EXPECT_EQ(contacts.journal,
              (Journal{"authorizationStatus", "openContactStore", "contactsMatchingName anna",
                       "authorizationStatus", "openContactStore", "contactsMatchingName bert"}));
}
