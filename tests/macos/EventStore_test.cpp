// The application's event store over the adapter: the effects of a framework that reach the agent.

#include "velmiro_mcp/services/EventStore.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "support/ScopedVariable.hpp"
#include "tests/macos/Failure.hpp"
#include "tests/macos/standin/StandIn.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::syncWait;
using velmiro::support::ScopedVariable;
using velmiro::test::failureOf;
using velmiro::test::FakeEventDatabase;
using velmiro::test::StandIn;

namespace {

class EventStoreOverEventKit : public testing::Test {
protected:
    EventStoreOverEventKit() {
        standIn.reset();
        standIn.database = std::make_shared<FakeEventDatabase>(data);
    }
    ~EventStoreOverEventKit() override { standIn.reset(); }

    JSONValue events() { return syncWait(store.events(start, end, std::nullopt)); }
    JSONValue reminders() { return syncWait(store.reminders(std::nullopt, false, std::nullopt)); }
    std::string createEvent() {
        return syncWait(store.createEvent({"Dentist", start, end, false, {}, {}}, std::nullopt));
    }
    std::string createReminder() {
        return syncWait(store.createReminder({"Milk", {}, 0, {}}, std::nullopt));
    }
    Event event(const std::string& identifier, std::chrono::hours after) const {
        Event made;
        made.identifier = identifier;
        made.start = start + after;
        made.end = *made.start + std::chrono::hours{1};
        return made;
    }

    StandIn& standIn = StandIn::shared();
    std::shared_ptr<FakeEventDatabase::Script> data = std::make_shared<FakeEventDatabase::Script>();
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    EventStore store{openEventDatabase()};
    Instant start = *parseDate("2026-10-14");
    Instant end = *parseDate("2026-10-15");
};

constexpr const char* noCalendars = "Velmiro has no full access to Calendars. Ask the user to turn "
                                    "it on in Velmiro › Settings › Connectors.";
constexpr const char* noReminders = "Velmiro has no full access to Reminders. Ask the user to turn "
                                    "it on in Velmiro › Settings › Connectors.";

} // namespace

TEST_F(EventStoreOverEventKit, AnyStatusButFullAccessIsRefusedForBothTypesWriteOnlyToo) {
    for (const int status : {0, 1, 2, 4}) {
        data->eventAccess = static_cast<AuthorizationStatus>(status);
        data->reminderAccess = static_cast<AuthorizationStatus>(status);
        EXPECT_EQ(failureOf([&] { events(); }), noCalendars) << status;
        EXPECT_EQ(failureOf([&] { createEvent(); }), noCalendars) << status;
        EXPECT_EQ(failureOf([&] { reminders(); }), noReminders) << status;
        EXPECT_EQ(failureOf([&] { createReminder(); }), noReminders) << status;
    }
    for (const std::string& call : standIn.journal()) { // not even a store was created
        EXPECT_TRUE(call.starts_with("authorizationStatusForEntityType:")) << call;
    }
}

TEST_F(EventStoreOverEventKit, WhatTheUserAllowsWhileTheServerRunsIsSeen) {
    data->stored = {event("e", std::chrono::hours{1})};
    data->reminders = {{"milk", "Milk", "Work", false, 0, {}, {}}};
    data->reminderAccess = AuthorizationStatus::denied;
    EXPECT_EQ(events().arrayValue().value().size(), 1U); // creates the store
    EXPECT_EQ(failureOf([&] { reminders(); }), noReminders);
    data->reminderAccess = AuthorizationStatus::fullAccess;
    EXPECT_EQ(reminders().arrayValue().value().size(), 1U);
    EXPECT_EQ(failureOf([&] { createReminder(); }), "no failure");
}

TEST_F(EventStoreOverEventKit, WhatTheUserAllowsBeforeTheTypeIsFirstAskedForIsSeen) {
    data->reminders = {{"milk", "Milk", "Work", false, 0, {}, {}}};
    data->reminderAccess = AuthorizationStatus::notDetermined;
    events();
    data->reminderAccess = AuthorizationStatus::fullAccess;
    EXPECT_EQ(reminders().arrayValue().value().size(), 1U);
}

TEST_F(EventStoreOverEventKit, AccessThatIsTakenAndGivenAgainIsSeen) {
    data->stored = {event("e", std::chrono::hours{1})};
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(events().arrayValue().value().size(), 1U);
        data->eventAccess = AuthorizationStatus::writeOnly;
        EXPECT_EQ(failureOf([&] { events(); }), noCalendars);
        data->eventAccess = AuthorizationStatus::fullAccess;
    }
    const auto journal = standIn.journal();
    EXPECT_EQ(std::ranges::count(journal, "EKEventStore init"), 1);
    EXPECT_EQ(std::ranges::count(journal, "reset"), 2);
}

TEST_F(EventStoreOverEventKit, AStoreThatHadAccessFromTheStartIsNeverReset) {
    events();
    reminders();
    events();
    const auto journal = standIn.journal();
    EXPECT_EQ(std::ranges::count(journal, "reset"), 0);
}

TEST_F(EventStoreOverEventKit, AResetThatRaisesIsRetried) {
    data->reminders = {{"milk", "Milk", "Work", false, 0, {}, {}}};
    data->reminderAccess = AuthorizationStatus::denied;
    events();
    data->reminderAccess = AuthorizationStatus::fullAccess;
    standIn.raises["reset"] = "not now";
    EXPECT_EQ(failureOf([&] { reminders(); }), "no failure");
    standIn.raises.clear();
    EXPECT_EQ(reminders().arrayValue().value().size(), 1U);
}

TEST_F(EventStoreOverEventKit, AFetchThatNeverCompletesIsGivenUpAndCancelledBeforeAReset) {
    EventStore impatient{openEventDatabase(), std::chrono::milliseconds{50}};
    data->stored = {event("e", std::chrono::hours{1})};
    data->reminders = {{"milk", "Milk", "Work", false, 0, {}, {}}};
    data->eventAccess = AuthorizationStatus::denied;
    std::vector<std::function<void()>> completions;
    standIn.deliver = [&](std::function<void()> complete) {
        completions.push_back(std::move(complete));
    };
    const auto list = [&] { syncWait(impatient.reminders(std::nullopt, false, std::nullopt)); };
    EXPECT_EQ(failureOf(list), "Reminders did not answer in time. Try again later.");
    data->eventAccess = AuthorizationStatus::fullAccess; // which resets the store
    const auto found = syncWait(impatient.events(start, end, std::nullopt));
    EXPECT_EQ(found.arrayValue().value().size(), 1U);
    EXPECT_EQ(failureOf(list), "Reminders did not answer in time. Try again later.");
    auto journal = standIn.journal();
    std::erase_if(journal, [](const std::string& call) {
        return call != "reset" && !call.starts_with("cancel") && !call.starts_with("fetch");
    });
    EXPECT_EQ(journal, (std::vector<std::string>{"fetchRemindersMatchingPredicate:completion:",
                                                 "cancelFetchRequest:", "reset",
                                                 "fetchRemindersMatchingPredicate:completion:"}));
    for (const auto& complete : completions) {
        complete(); // a late answer does no harm
    }
}

TEST_F(EventStoreOverEventKit, FullAccessSuffices) {
    EXPECT_EQ(failureOf([&] { events(); }), "no failure");
    EXPECT_EQ(failureOf([&] { createEvent(); }), "no failure");
    EXPECT_EQ(failureOf([&] { reminders(); }), "no failure");
    EXPECT_EQ(failureOf([&] { createReminder(); }), "no failure");
}

TEST_F(EventStoreOverEventKit, EventsAreSortedByStartAndTiesKeepTheirOrder) {
    using std::chrono::hours;
    data->stored = {event("c", hours{2}), event("z", hours{1}), event("a", hours{1}),
                    event("m", hours{1}), event("b", hours{0})};
    std::string order;
    const JSONValue found = events();
    const auto records = found.arrayValue().value();
    for (const JSONValue& record : records) {
        order += record["id"]->stringValue().value();
    }
    EXPECT_EQ(order, "bzamc");
}

TEST_F(EventStoreOverEventKit, RemindersThatCompleteOnAnotherThreadLaterAreWaitedFor) {
    data->reminders = {{"milk", "Milk", "Work", false, 0, {}, {}}};
    std::thread later;
    standIn.deliver = [&](std::function<void()> complete) {
        later = std::thread{[complete = std::move(complete)] {
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
            complete();
        }};
    };
    EXPECT_EQ(reminders().arrayValue().value().size(), 1U);
    later.join();
}

TEST_F(EventStoreOverEventKit, RemindersThatNeverArriveAreNone) {
    data->reminders = {{"milk", "Milk", "Work", false, 0, {}, {}}};
    standIn.completesWithNil = true;
    EXPECT_EQ(reminders().arrayValue().value().size(), 0U);
    standIn.completesWithNil = false;
    standIn.deliver = [](const std::function<void()>&) {};
    EXPECT_EQ(reminders().arrayValue().value().size(), 0U);
}

TEST_F(EventStoreOverEventKit, ThePlatformsErrorsReachTheAgentAsTheyAre) {
    standIn.errors["saveEvent:span:commit:error:"] = "Der Kalender ist schreibgeschützt.";
    standIn.errors["saveReminder:commit:error:"] = "Liste voll";
    EXPECT_EQ(failureOf([&] { createEvent(); }), "Der Kalender ist schreibgeschützt.");
    EXPECT_EQ(failureOf([&] { createReminder(); }), "Liste voll");
    standIn.raises["fetchRemindersMatchingPredicate:completion:"] = "raised";
    EXPECT_EQ(failureOf([&] { reminders(); }), "raised");
}

TEST_F(EventStoreOverEventKit, AfterAnErrorTheNextCallIsServed) {
    standIn.raises["eventsMatchingPredicate:"] = "raised";
    EXPECT_EQ(failureOf([&] { events(); }), "raised");
    standIn.raises.clear();
    data->stored = {event("e", std::chrono::hours{1})};
    EXPECT_EQ(events().arrayValue().value().size(), 1U);
}
