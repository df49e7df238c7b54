#include "velmiro_mcp/services/EventStore.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "support/ScopedVariable.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::syncWait;
using velmiro::support::ScopedVariable;
using velmiro::test::FakeEventDatabase;

namespace {

class EventStoreTest : public testing::Test {
protected:
    std::shared_ptr<FakeEventDatabase::Script> database =
        std::make_shared<FakeEventDatabase::Script>();
    EventStore store{std::make_unique<FakeEventDatabase>(database)};
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    Instant start = *parseDate("2026-10-14");
    Instant end = *parseDate("2026-10-15");

    JSONValue events(std::optional<std::string> calendar = std::nullopt) {
        return syncWait(store.events(start, end, std::move(calendar)));
    }
    std::string create(std::optional<std::string> calendar = std::nullopt) {
        return syncWait(
            store.createEvent({"Dentist", start, end, false, {}, {}}, std::move(calendar)));
    }
    static std::string failure(const std::function<void()>& call) {
        try {
            call();
            return "no failure";
        } catch (const MCPToolError& error) {
            return error.message;
        }
    }
    Event event(const std::string& title, Instant from) const {
        Event made;
        made.identifier = "id-" + title;
        made.title = title;
        made.start = from;
        made.end = from + std::chrono::hours{1};
        return made;
    }
};

constexpr const char* noAccess = "Velmiro has no full access to Calendars. Ask the user to turn it "
                                 "on in Velmiro › Settings › Connectors.";

} // namespace

TEST_F(EventStoreTest, ReadingAndCreatingNeedFullAccess) {
    for (const auto status : {AuthorizationStatus::notDetermined, AuthorizationStatus::restricted,
                              AuthorizationStatus::denied, AuthorizationStatus::writeOnly}) {
        database->eventAccess = status;
        EXPECT_EQ(failure([&] { events(); }), noAccess);
        EXPECT_EQ(failure([&] { create(); }), noAccess);
    }
    EXPECT_EQ(database->journal, std::vector<std::string>(8, "authorizationStatus 0"));
}

TEST_F(EventStoreTest, ACalendarIsFoundByItsNameRegardlessOfCase) {
    database->eventCalendars = {{"c1", "Home"}, {"c2", "Work"}, {"c3", "WORK"}};
    events("work");
    EXPECT_EQ(database->journal.back(), "events 1791928800 1792015200 c2");
    events("HOME");
    EXPECT_EQ(database->journal.back(), "events 1791928800 1792015200 c1");
    events();
    EXPECT_EQ(database->journal.back(), "events 1791928800 1792015200 all");
}

TEST_F(EventStoreTest, AnUnknownNameIsAnsweredWithTheKnownOnes) {
    EXPECT_EQ(failure([&] { events("Garden"); }), "no calendar named ‘Garden’. Known: Home, Work");
    EXPECT_EQ(failure([&] { events(""); }), "no calendar named ‘’. Known: Home, Work");
    EXPECT_EQ(failure([&] { create("Garden"); }), "no calendar named ‘Garden’. Known: Home, Work");
    database->eventCalendars = {{"c1", ""}, {"c2", ""}};
    EXPECT_EQ(failure([&] { events("x"); }), "no calendar named ‘x’. Known: , ");
    database->eventCalendars.clear();
    EXPECT_EQ(failure([&] { events("x"); }), "no calendar named ‘x’. Known: ");
    EXPECT_FALSE(database->changed());
}

TEST_F(EventStoreTest, AnEventBecomesARecord) {
    auto full = event("Dentist", *parseDate("2026-10-14T15:00"));
    full.calendar = "Work";
    full.location = "Room 4";
    full.notes = "Bring the card";
    Event bare;
    bare.identifier = "x";
    bare.allDay = true;
    bare.location = "";
    bare.notes = "";
    database->stored = {full, bare};
    EXPECT_EQ(
        events().jsonString(),
        R"([{"all_day":true,"calendar":"","end":"","id":"x","start":"","title":""},)"
        R"({"all_day":false,"calendar":"Work","end":"2026-10-14T16:00:00+02:00","id":"id-Dentist",)"
        R"("location":"Room 4","notes":"Bring the card","start":"2026-10-14T15:00:00+02:00",)"
        R"("title":"Dentist"}])");
}

TEST_F(EventStoreTest, EventsAreSortedByTheirStartAndTiesKeepTheStoresOrder) {
    database->stored = {event("late", start + std::chrono::hours{9}), event("b", start),
                        event("a", start), event("early", start - std::chrono::hours{9})};
    const auto records = events();
    std::string order;
    for (const auto list = *records.arrayValue(); const JSONValue& record : list) {
        order += std::string{*record["title"]->stringValue()} + " ";
    }
    EXPECT_EQ(order, "early b a late ");
}

TEST_F(EventStoreTest, TheEarliestTwoHundredAreReturned) {
    for (int i = 250; i > 0; --i) {
        database->stored.push_back(event(std::to_string(i), start + std::chrono::minutes{i}));
    }
    const auto records = events();
    EXPECT_EQ(records.arrayValue()->size(), 200U);
    EXPECT_EQ((*records[0])["title"]->stringValue(), "1");
    EXPECT_EQ((*records[199])["title"]->stringValue(), "200");
}

TEST_F(EventStoreTest, NotesAreCutAfterFiveHundredCharactersAsTheUserCountsThem) {
    const std::string family = "👨‍👩‍👧‍👦"; // one character to the user
    std::string notes;
    for (int i = 0; i < 501; ++i) {
        notes += family;
    }
    auto long1 = event("long", start);
    long1.notes = notes;
    database->stored = {long1};
    EXPECT_EQ((*events()[0])["notes"]->stringValue(), notes.substr(0, 500 * family.size()));
    long1.notes = std::string(500, 'x');
    database->stored = {long1};
    EXPECT_EQ((*events()[0])["notes"]->stringValue(), std::string(500, 'x'));
}

TEST_F(EventStoreTest, AnEnormousTextDoesNotKeepTheOthersFromBeingRead) {
    auto enormous = event(std::string(4'000'000, '\1'), start);
    enormous.identifier = std::string(1'000'000, 'i');
    enormous.calendar = "c" + std::string(1'000'000, 'x');
    enormous.location = "€" + std::string(1'020, 'x') + "€";
    enormous.notes = "e";
    for (int count = 0; count < 1'000'000; ++count) {
        *enormous.notes += "\u0301"; // one character to the user
    }
    database->stored = {enormous, event("Dentist", start + std::chrono::hours{1})};
    const auto records = events();
    ASSERT_EQ(records.arrayValue()->size(), 2U);
    EXPECT_EQ((*records[0])["title"]->stringValue(), std::string(1024, '\1'));
    EXPECT_EQ((*records[0])["id"]->stringValue()->size(), 1024U);
    EXPECT_EQ((*records[0])["calendar"]->stringValue()->size(), 1024U);
    EXPECT_EQ((*records[0])["location"]->stringValue(), "€" + std::string(1'020, 'x'))
        << "no character is cut in two";
    EXPECT_EQ((*records[0])["notes"]->stringValue()->size(), 1023U);
    EXPECT_EQ((*records[1])["title"]->stringValue(), "Dentist");
}

TEST_F(EventStoreTest, TextsAreCutIfTheyAreMoreThanAMebibyteTogether) {
    auto large = event("Dentist", start);
    const std::size_t others = large.identifier.size() + large.title->size();
    large.location = std::string((std::size_t{1} << 20U) - others, 'x');
    database->stored = {large};
    EXPECT_EQ((*events()[0])["location"]->stringValue(), large.location);
    *large.location += 'x';
    database->stored = {large};
    EXPECT_EQ((*events()[0])["location"]->stringValue(), std::string(1024, 'x'));
}

TEST_F(EventStoreTest, NothingIsLeftOfAnEnormousTextWithoutTheBeginningOfACharacter) {
    auto broken = event("Dentist", start);
    broken.location = std::string(2'000'000, '\x80');
    database->stored = {broken};
    EXPECT_EQ((*events()[0])["location"], nullptr);
}

TEST_F(EventStoreTest, TheLargestReplyFitsIntoALineThatClientsAccept) {
    constexpr std::size_t longestLine = 10'000'000;
    auto worst = event(std::string(1'000'000, '\1'), start);
    worst.identifier = worst.calendar.emplace(*worst.title);
    worst.location = worst.title;
    worst.notes = std::string(500, '\1');
    database->stored.assign(200, worst);
    const JSONValue text{events().jsonString()};
    EXPECT_LT(text.jsonString().size(), longestLine);

    // Just below what is too much, nothing is cut.
    auto whole = event("", start);
    whole.location = std::string(5'000, '\1');
    database->stored.assign(200, whole);
    EXPECT_EQ((*events()[199])["location"]->stringValue(), whole.location);
    EXPECT_LT(JSONValue{events().jsonString()}.jsonString().size(), longestLine);
}

TEST_F(EventStoreTest, CreatingChecksAccessFindsTheCalendarAndSavesInThisOrder) {
    EXPECT_EQ(create(), "new-id");
    EXPECT_EQ(database->journal,
              (std::vector<std::string>{"authorizationStatus 0", "defaultCalendarForNewEvents",
                                        "saveEvent Dentist in c1"}));
    database->journal.clear();
    EXPECT_EQ(create("work"), "new-id");
    EXPECT_EQ(database->journal, (std::vector<std::string>{"authorizationStatus 0", "calendars 0",
                                                           "saveEvent Dentist in c2"}));
}

TEST_F(EventStoreTest, WithoutADefaultCalendarNothingIsSaved) {
    database->hasDefault = false;
    EXPECT_EQ(failure([&] { create(); }), "there is no calendar to add to");
    EXPECT_FALSE(database->changed());
}

TEST_F(EventStoreTest, APlatformErrorPassesThroughUnchanged) {
    database->saveError = "the disk is full";
    try {
        create();
        FAIL() << "the event was saved";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "the disk is full");
    }
    EXPECT_NO_THROW(events()); // the failed call has ended its turn
}
