// The adapter's calls of EventKit, and its use of their results. The stand-ins record each call
// with its arguments, in order.

#include "support/ScopedVariable.hpp"
#include "tests/macos/Failure.hpp"
#include "tests/macos/standin/StandIn.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <algorithm>
#include <gtest/gtest.h>

using namespace velmiro;
using velmiro::support::ScopedVariable;
using velmiro::test::failureOf;
using velmiro::test::FakeEventDatabase;
using velmiro::test::StandIn;
using velmiro::test::withoutStoreCreation;

namespace {

using Calls = std::vector<std::string>;

class EventKitTest : public testing::Test {
protected:
    EventKitTest() {
        standIn.reset();
        standIn.database = std::make_shared<FakeEventDatabase>(data);
    }
    ~EventKitTest() override { standIn.reset(); }

    /// Returns the calls, without those by which the first of them created the store.
    Calls calls() const { return withoutStoreCreation(standIn.journal()); }
    std::vector<Event> events(const Calendar* calendar = nullptr) {
        return database->events(start, end, calendar);
    }
    std::string saveDentist() {
        return database->saveEvent({"Dentist", start, end, false, {}, {}}, work);
    }
    static Event event(const std::string& identifier, Instant from) {
        Event made;
        made.identifier = identifier;
        made.title = "title of " + identifier;
        made.start = from;
        made.end = from + std::chrono::hours{1};
        made.calendar = "Work";
        made.location = "here";
        made.notes = "notes";
        return made;
    }

    StandIn& standIn = StandIn::shared();
    std::shared_ptr<FakeEventDatabase::Script> data = std::make_shared<FakeEventDatabase::Script>();
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    std::unique_ptr<EventDatabase> database = openEventDatabase();
    Instant start = *parseDate("2026-10-14"); // 1791928800
    Instant end = *parseDate("2026-10-15");   // 1792015200
    Calendar work{"c2", "Work"};
};

} // namespace

TEST_F(EventKitTest, EachStatusOfBothTypesIsTheFrameworksOwn) {
    for (const int status : {0, 1, 2, 3, 4}) {
        data->eventAccess = static_cast<AuthorizationStatus>(status);
        data->reminderAccess = static_cast<AuthorizationStatus>(4 - status);
        EXPECT_EQ(static_cast<int>(database->authorizationStatus(EntityType::event)), status);
        EXPECT_EQ(static_cast<int>(database->authorizationStatus(EntityType::reminder)),
                  4 - status);
    }
}

TEST_F(EventKitTest, TheStatusIsAskedOfTheClassByTheTypesOwnNumbers) {
    database->authorizationStatus(EntityType::event);
    database->authorizationStatus(EntityType::reminder);
    EXPECT_EQ(standIn.journal(), (Calls{"authorizationStatusForEntityType: 0",
                                        "authorizationStatusForEntityType: 1"}));
}

TEST_F(EventKitTest, AStatusOfALaterSystemIsNotTakenForFullAccess) {
    data->eventAccess = static_cast<AuthorizationStatus>(5);
    EXPECT_NE(database->authorizationStatus(EntityType::event), AuthorizationStatus::fullAccess);
}

TEST_F(EventKitTest, TheStoreIsCreatedOnFirstUseAndKept) {
    EXPECT_EQ(standIn.journal(), Calls{});
    events();
    events();
    const Calls journal = standIn.journal();
    EXPECT_EQ(std::ranges::count(journal, "EKEventStore init"), 1);
    EXPECT_EQ(journal.at(2), "EKEventStore init"); // after both statuses were read
    EXPECT_EQ(std::ranges::count(journal, "reset"), 0);
}

TEST_F(EventKitTest, AStoreThatCannotBeCreatedIsAnErrorAndRetried) {
    standIn.raises["EKEventStore init"] = "no service";
    EXPECT_EQ(failureOf([&] { events(); }), "no service");
    standIn.raises.clear();
    EXPECT_EQ(failureOf([&] { events(); }), "no failure");
}

TEST_F(EventKitTest, CalendarsAreAskedForByType) {
    EXPECT_EQ(database->calendars(EntityType::event).size(), 2U);
    EXPECT_EQ(database->calendars(EntityType::reminder).size(), 2U);
    EXPECT_EQ(calls(), (Calls{"calendarsForEntityType: 0", "calendarsForEntityType: 1"}));
}

TEST_F(EventKitTest, ACalendarWithoutATitleHasAnEmptyOne) {
    standIn.nils = {"calendar.title c1"};
    const auto found = database->calendars(EntityType::event);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].identifier, "c1");
    EXPECT_EQ(found[0].title, "");
    EXPECT_EQ(found[1].title, "Work");
}

TEST_F(EventKitTest, NoArrayOfCalendarsIsNoCalendars) {
    standIn.refusals = {"calendarsForEntityType:"};
    EXPECT_TRUE(database->calendars(EntityType::event).empty());
}

TEST_F(EventKitTest, EachDefaultHasItsOwnCall) {
    EXPECT_EQ(database->defaultCalendarForNewEvents().value().identifier, "c1");
    EXPECT_EQ(database->defaultListForNewReminders().value().identifier, "l1");
    EXPECT_EQ(calls(), (Calls{"defaultCalendarForNewEvents", "defaultCalendarForNewReminders"}));
    data->hasDefault = false;
    data->hasDefaultList = false;
    EXPECT_FALSE(database->defaultCalendarForNewEvents());
    EXPECT_FALSE(database->defaultListForNewReminders());
}

TEST_F(EventKitTest, AllCalendarsAreSearchedByPassingNil) {
    events();
    EXPECT_EQ(calls(), (Calls{"predicateForEventsWithStartDate:endDate:calendars: 1791928800 "
                              "1792015200 nil",
                              "eventsMatchingPredicate:"}));
}

TEST_F(EventKitTest, OneCalendarIsSearchedByPassingAnArrayOfIt) {
    events(&work);
    EXPECT_EQ(calls(), (Calls{"calendarsForEntityType: 0",
                              "predicateForEventsWithStartDate:endDate:calendars: 1791928800 "
                              "1792015200 [Work]",
                              "eventsMatchingPredicate:"}));
    EXPECT_EQ(data->journal.back(), "events 1791928800 1792015200 c2");
}

TEST_F(EventKitTest, ACalendarThatIsGoneIsNotTakenForAll) {
    const Calendar gone{"c9", "Gone"};
    data->stored = {event("e", start)};
    EXPECT_TRUE(events(&gone).empty());
    EXPECT_EQ(calls(), Calls{"calendarsForEntityType: 0"});
}

TEST_F(EventKitTest, EveryPropertyOfAnEventArrives) {
    data->stored = {event("e1", start)};
    data->stored[0].allDay = true;
    const auto found = events();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].identifier, "e1");
    EXPECT_EQ(found[0].title, "title of e1");
    EXPECT_EQ(found[0].start, start);
    EXPECT_EQ(found[0].end, end - std::chrono::seconds{1}); // of its last day
    EXPECT_TRUE(found[0].allDay);
    EXPECT_EQ(found[0].calendar, "Work");
    EXPECT_EQ(found[0].location, "here");
    EXPECT_EQ(found[0].notes, "notes");
}

TEST_F(EventKitTest, EveryPropertyOfAnEventMayBeNil) {
    data->stored = {event("e1", start)};
    standIn.nils = {
        "calendarItemIdentifier", "title", "startDate", "endDate", "calendar", "location", "notes"};
    const auto found = events();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].identifier, "");
    EXPECT_FALSE(found[0].title);
    EXPECT_FALSE(found[0].start);
    EXPECT_FALSE(found[0].end);
    EXPECT_FALSE(found[0].calendar);
    EXPECT_FALSE(found[0].location);
    EXPECT_FALSE(found[0].notes);
}

TEST_F(EventKitTest, NoArrayOfEventsIsNoEvents) {
    data->stored = {event("e1", start)};
    standIn.refusals = {"eventsMatchingPredicate:"};
    EXPECT_TRUE(events().empty());
}

TEST_F(EventKitTest, EventsKeepTheOrderInWhichEventKitReturnsThem) {
    data->stored = {event("late", start + std::chrono::hours{3}), event("b", start),
                    event("a", start)};
    std::vector<std::string> identifiers;
    for (const Event& found : events()) {
        identifiers.push_back(found.identifier);
    }
    EXPECT_EQ(identifiers, (Calls{"late", "b", "a"}));
}

TEST_F(EventKitTest, AnEventThatRaisesIsSkippedAndHidesNoOther) {
    data->stored = {event("e1", start), event("e2", start), event("e3", start)};
    standIn.raises["title e2"] = "stale";
    const auto found = events();
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].identifier, "e1");
    EXPECT_EQ(found[1].identifier, "e3");
}

TEST_F(EventKitTest, ALongTimeIsSearchedInPiecesThatEventKitDoesNotCut) {
    const Instant later = *parseDate("2031-10-14");
    database->events(start, later, nullptr);
    const auto pieces = calls();
    ASSERT_EQ(pieces.size(), 4U);
    EXPECT_EQ(pieces[0],
              "predicateForEventsWithStartDate:endDate:calendars: 1791928800 1918072800 nil");
    EXPECT_EQ(pieces[2], "predicateForEventsWithStartDate:endDate:calendars: 1918072800 " +
                             std::to_string(later.time_since_epoch() / std::chrono::seconds{1}) +
                             " nil");
}

TEST_F(EventKitTest, WhatIsLaterThanFiftyThousandEventsIsNotSearched) {
    data->stored.assign(50'000, event("daily", start));
    EXPECT_EQ(database->events(start, *parseDate("9999-12-31"), nullptr).size(), 50'000U);
    EXPECT_EQ(calls().size(), 2U) << "one search";
}

TEST_F(EventKitTest, AnEventIsSavedWithWhatItIsGivenInOneCommitOfItsOwn) {
    const NewEvent given{"Dentist", start, end, true, "Room 5", "Bring the card"};
    EXPECT_EQ(database->saveEvent(given, work), "new-id");
    EXPECT_EQ(calls(),
              (Calls{"eventWithEventStore:", "setTitle: Dentist", "setStartDate: 1791928800",
                     "setEndDate: 1792015199", "setAllDay: YES", "setLocation: Room 5",
                     "setNotes: Bring the card", "calendarsForEntityType: 0", "setCalendar: Work",
                     "saveEvent:span:commit:error: Dentist 0 YES"}));
    EXPECT_EQ(data->saved.location, "Room 5");
    EXPECT_TRUE(data->saved.allDay);
    EXPECT_EQ(data->saved.end, end);
    EXPECT_EQ(data->journal.back(), "saveEvent Dentist in c2");
}

TEST_F(EventKitTest, MissingPropertiesOfANewEventAreSetToNil) {
    saveDentist();
    const Calls journal = calls();
    EXPECT_TRUE(std::ranges::count(journal, "setLocation: nil") == 1) << "location";
    EXPECT_TRUE(std::ranges::count(journal, "setNotes: nil") == 1) << "notes";
    EXPECT_TRUE(std::ranges::count(journal, "setAllDay: NO") == 1) << "all day";
}

TEST_F(EventKitTest, AFailedSaveThrowsTheErrorsDescriptionAndTheEventIsForgotten) {
    standIn.errors["saveEvent:span:commit:error:"] = "Der Kalender ist schreibgeschützt.";
    EXPECT_EQ(failureOf([&] { saveDentist(); }), "Der Kalender ist schreibgeschützt.");
    EXPECT_EQ(calls().back(), "reset");
    EXPECT_FALSE(data->changed());
}

TEST_F(EventKitTest, AnErrorWithoutADescriptionStillSaysSomething) {
    standIn.errors["saveEvent:span:commit:error:"] = "";
    EXPECT_NE(failureOf([&] { saveDentist(); }), "");
}

TEST_F(EventKitTest, ASaveThatReturnsNoWithoutAnErrorIsNotAFailure) {
    standIn.refusals = {"saveEvent:span:commit:error:"};
    EXPECT_EQ(failureOf([&] { saveDentist(); }), "no failure");
    EXPECT_EQ(calls().back(), "saveEvent:span:commit:error: Dentist 0 YES");
}

TEST_F(EventKitTest, AnExceptionWhileSavingIsAnErrorAndTheEventIsForgotten) {
    for (const char* call : {"eventWithEventStore:", "setTitle:", "setStartDate:", "setEndDate:",
                             "setAllDay:", "setLocation:", "setNotes:", "setCalendar:",
                             "calendarsForEntityType:", "saveEvent:span:commit:error:"}) {
        standIn.raises = {{call, std::string{"no "} + call}};
        EXPECT_EQ(failureOf([&] { saveDentist(); }), std::string{"no "} + call);
        EXPECT_EQ(calls().back(), "reset") << call;
    }
    EXPECT_FALSE(data->changed());
}

TEST_F(EventKitTest, AResetThatRaisesDoesNotHideTheReason) {
    standIn.errors["saveEvent:span:commit:error:"] = "read-only";
    standIn.raises["reset"] = "not now";
    EXPECT_EQ(failureOf([&] { saveDentist(); }), "read-only");
}

TEST_F(EventKitTest, ACalendarThatIsGoneIsAnErrorThatNamesItAndNothingIsSaved) {
    work = {"c9", "Gone"};
    EXPECT_EQ(failureOf([&] { saveDentist(); }), "‘Gone’ is not there any more");
    EXPECT_FALSE(data->changed());
}

TEST_F(EventKitTest, WhateverRaisesIsAnErrorWithItsReason) {
    const std::vector<std::pair<std::string, std::function<void()>>> uses{
        {"authorizationStatusForEntityType:",
         [&] { database->authorizationStatus(EntityType::event); }},
        {"calendarsForEntityType:", [&] { database->calendars(EntityType::event); }},
        {"calendar.title", [&] { database->calendars(EntityType::event); }},
        {"defaultCalendarForNewEvents", [&] { database->defaultCalendarForNewEvents(); }},
        {"defaultCalendarForNewReminders", [&] { database->defaultListForNewReminders(); }},
        {"predicateForEventsWithStartDate:endDate:calendars:", [&] { events(); }},
        {"eventsMatchingPredicate:", [&] { events(); }},
        {"calendarItemWithIdentifier:", [&] { database->reminder("milk"); }},
        {"calendarItemWithIdentifier:", [&] { database->completeReminder("milk"); }},
    };
    for (const auto& [call, use] : uses) {
        standIn.raises = {{call, "the reason: ü"}};
        EXPECT_EQ(failureOf(use), "the reason: ü") << call;
    }
    standIn.raises.clear();
    EXPECT_EQ(failureOf([&] { events(); }), "no failure");
}

TEST_F(EventKitTest, AnExceptionWithoutAReasonIsReportedByItsName) {
    standIn.raises["eventsMatchingPredicate:"] = "";
    EXPECT_EQ(failureOf([&] { events(); }), "NSInvalidArgumentException");
}
