// The adapter's calls of EventKit for reminders, and the ways in which a fetch may complete.

#include "support/ScopedVariable.hpp"
#include "tests/macos/Failure.hpp"
#include "tests/macos/standin/StandIn.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

using namespace velmiro;
using velmiro::support::ScopedVariable;
using velmiro::test::failureOf;
using velmiro::test::FakeEventDatabase;
using velmiro::test::StandIn;
using velmiro::test::withoutStoreCreation;

namespace {

using Calls = std::vector<std::string>;
using Found = std::optional<std::vector<Reminder>>;

class EventKitRemindersTest : public testing::Test {
protected:
    EventKitRemindersTest() {
        standIn.reset();
        standIn.database = std::make_shared<FakeEventDatabase>(data);
        data->reminders = {{"milk", "Milk", "Work", false, 9, start, "Fresh"},
                           {"tax", "Tax", "Work", false, 0, {}, {}}};
    }
    ~EventKitRemindersTest() override { standIn.reset(); }

    Calls calls() const { return withoutStoreCreation(standIn.journal()); }
    /// Starts a fetch; each answer is appended to `answers`.
    void fetch(const ReminderQuery& query = {}) {
        database->fetchReminders(query,
                                 [this](Found found) { answers.push_back(std::move(found)); });
    }
    std::optional<Instant> dueOf(const StandIn::DueParts& parts) {
        standIn.dueParts["milk"] = parts;
        return database->reminder("milk").value().due;
    }
    std::string saveMilk(std::optional<Instant> due = {}) {
        return database->saveReminder({"Milk", "Fresh", 5, due}, work);
    }

    StandIn& standIn = StandIn::shared();
    std::shared_ptr<FakeEventDatabase::Script> data = std::make_shared<FakeEventDatabase::Script>();
    ScopedVariable zone{"TZ", "Europe/Berlin"};
    std::unique_ptr<EventDatabase> database = openEventDatabase();
    Instant start = *parseDate("2026-10-14"); // 1791928800
    Calendar work{"l2", "Work"};
    std::vector<Found> answers;
};

} // namespace

TEST_F(EventKitRemindersTest, OpenOnesOfAllListsAreSearchedWithoutBounds) {
    fetch();
    EXPECT_EQ(calls(),
              (Calls{"predicateForIncompleteRemindersWithDueDateStarting:ending:calendars: "
                     "nil nil nil",
                     "fetchRemindersMatchingPredicate:completion:"}));
}

TEST_F(EventKitRemindersTest, OpenOnesDueBeforeADateHaveAnUpperBoundOnly) {
    fetch({false, start, &work});
    EXPECT_EQ(calls(),
              (Calls{"calendarsForEntityType: 1",
                     "predicateForIncompleteRemindersWithDueDateStarting:ending:calendars: "
                     "nil 1791928800 [Work]",
                     "fetchRemindersMatchingPredicate:completion:"}));
}

TEST_F(EventKitRemindersTest, WithCompletedOnesTheDueDateIsNotPassedOn) {
    fetch({true, start, &work});
    EXPECT_EQ(calls(),
              (Calls{"calendarsForEntityType: 1", "predicateForRemindersInCalendars: [Work]",
                     "fetchRemindersMatchingPredicate:completion:"}));
    EXPECT_EQ(data->journal.back(), "fetchReminders all - l2");
}

TEST_F(EventKitRemindersTest, AListThatIsGoneHasNoRemindersAndIsNotTakenForAll) {
    const Calendar gone{"l9", "Gone"};
    fetch({true, {}, &gone});
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].value().size(), 0U);
    EXPECT_EQ(calls(), Calls{"calendarsForEntityType: 1"});
}

TEST_F(EventKitRemindersTest, EveryPropertyOfAReminderArrives) {
    fetch();
    ASSERT_EQ(answers.size(), 1U);
    const Reminder& milk = answers[0].value().at(0);
    EXPECT_EQ(milk.identifier, "milk");
    EXPECT_EQ(milk.title, "Milk");
    EXPECT_EQ(milk.list, "Work");
    EXPECT_FALSE(milk.completed);
    EXPECT_EQ(milk.priority, 9);
    EXPECT_EQ(milk.due, start);
    EXPECT_EQ(milk.notes, "Fresh");
    EXPECT_EQ(answers[0].value().at(1).identifier, "tax");
}

TEST_F(EventKitRemindersTest, EveryPropertyOfAReminderMayBeNil) {
    standIn.nils = {"calendarItemIdentifier", "title", "calendar", "dueDateComponents", "notes"};
    fetch();
    const Reminder& milk = answers.at(0).value().at(0);
    EXPECT_EQ(milk.identifier, "");
    EXPECT_FALSE(milk.title);
    EXPECT_FALSE(milk.list);
    EXPECT_FALSE(milk.due);
    EXPECT_FALSE(milk.notes);
}

TEST_F(EventKitRemindersTest, AReminderThatRaisesIsSkippedAndHidesNoOther) {
    standIn.raises["notes milk"] = "stale";
    fetch();
    ASSERT_EQ(answers.at(0).value().size(), 1U);
    EXPECT_EQ(answers[0]->at(0).identifier, "tax");
}

TEST_F(EventKitRemindersTest, OnlyTheRequestedNumberIsConverted) {
    for (int number = 0; number < 5'000; ++number) {
        data->reminders.push_back({std::to_string(number), "Old", "Work", true, 0, {}, {}});
    }
    standIn.raises["notes milk"] = "stale"; // which does not count
    fetch({true, {}, nullptr, 300});
    ASSERT_EQ(answers.at(0).value().size(), 300U);
    EXPECT_EQ(answers[0]->at(0).identifier, "tax");
    EXPECT_EQ(answers[0]->at(299).identifier, "298");
    EXPECT_EQ(standIn.countOf("title"), 301);
}

TEST_F(EventKitRemindersTest, AFetchThatWasGivenUpIsCancelledByTheNext) {
    std::vector<std::function<void()>> completions;
    standIn.deliver = [&](std::function<void()> given) { completions.push_back(std::move(given)); };
    fetch();
    fetch();
    const Calls journal = calls();
    EXPECT_EQ(std::ranges::count(journal, "cancelFetchRequest:"), 1);
    completions.at(0)();
    EXPECT_TRUE(answers.empty());
    completions.at(1)();
    EXPECT_EQ(answers.size(), 1U);
    fetch();
    EXPECT_EQ(std::ranges::count(calls(), "cancelFetchRequest:"), 1); // it was answered
}

TEST_F(EventKitRemindersTest, ASaveThatFailsWhileAFetchIsPendingCancelsIt) {
    std::vector<std::function<void()>> completions;
    standIn.deliver = [&](std::function<void()> given) { completions.push_back(std::move(given)); };
    fetch();
    standIn.errors["saveReminder:commit:error:"] = "read-only";
    EXPECT_EQ(failureOf([&] { saveMilk(); }), "read-only");
    const Calls journal = calls();
    EXPECT_EQ(journal.at(journal.size() - 2), "cancelFetchRequest:");
    EXPECT_EQ(journal.back(), "reset");
}

TEST_F(EventKitRemindersTest, AFetchMayCompleteLateAndOnAnotherThread) {
    std::function<void()> complete;
    standIn.deliver = [&](std::function<void()> given) { complete = std::move(given); };
    fetch();
    EXPECT_TRUE(answers.empty());
    std::thread{[&] {
        complete();
        complete = nullptr;
    }}.join();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].value().size(), 2U);
}

TEST_F(EventKitRemindersTest, AFetchMayCompleteWhenTheDatabaseIsGone) {
    std::function<void()> complete;
    standIn.deliver = [&](std::function<void()> given) { complete = std::move(given); };
    fetch();
    database.reset();
    complete();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].value().size(), 2U);
}

TEST_F(EventKitRemindersTest, AFetchThatCompletesWithNilIsNoAnswer) {
    standIn.completesWithNil = true;
    fetch();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_FALSE(answers[0]);
}

TEST_F(EventKitRemindersTest, AFetchThatCompletesTwiceIsAnsweredOnce) {
    standIn.deliver = [](const std::function<void()>& complete) {
        complete();
        complete();
    };
    fetch();
    EXPECT_EQ(answers.size(), 1U);
}

TEST_F(EventKitRemindersTest, AFetchWhoseCompletionIsDroppedIsAnsweredWithNone) {
    standIn.deliver = [](const std::function<void()>&) {};
    fetch();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_FALSE(answers[0]);
}

TEST_F(EventKitRemindersTest, AFetchThatRaisesIsAnErrorAndAnsweredInNoOtherWay) {
    for (const char* call : {"predicateForIncompleteRemindersWithDueDateStarting:ending:calendars:",
                             "fetchRemindersMatchingPredicate:completion:"}) {
        standIn.raises = {{call, "raised"}};
        EXPECT_EQ(failureOf([&] { fetch(); }), "raised") << call;
    }
    standIn.raises = {{"predicateForRemindersInCalendars:", "raised"}};
    EXPECT_EQ(failureOf([&] { fetch({true, {}, nullptr}); }), "raised");
    EXPECT_TRUE(answers.empty());
}

TEST_F(EventKitRemindersTest, AReminderIsLookedUpByItsIdentifierAlone) {
    EXPECT_EQ(database->reminder("milk").value().title, "Milk");
    EXPECT_EQ(calls(), Calls{"calendarItemWithIdentifier: milk"});
    EXPECT_FALSE(database->reminder("bread"));
}

TEST_F(EventKitRemindersTest, AnEventWithThatIdentifierIsNoReminder) {
    standIn.eventIdentifiers = {"fair"};
    EXPECT_FALSE(database->reminder("fair"));
    EXPECT_FALSE(database->completeReminder("fair"));
    EXPECT_FALSE(data->changed());
}

TEST_F(EventKitRemindersTest, APropertyThatRaisesIsAnErrorWhenOneReminderIsLookedUp) {
    standIn.raises["title milk"] = "stale";
    EXPECT_EQ(failureOf([&] { database->reminder("milk"); }), "stale");
}

TEST_F(EventKitRemindersTest, AReminderIsSavedWithWhatItIsGivenInOneCommitOfItsOwn) {
    EXPECT_EQ(saveMilk(*parseDate("2026-10-14T15:30")), "new-id");
    EXPECT_EQ(calls(), (Calls{"reminderWithEventStore:", "setTitle: Milk", "setNotes: Fresh",
                              "setPriority: 5", "setDueDateComponents: 2026-10-14 15:30",
                              "calendarsForEntityType: 1", "setCalendar: Work",
                              "saveReminder:commit:error: Milk YES"}));
    EXPECT_EQ(data->journal.back(), "saveReminder Milk in l2");
    EXPECT_EQ(data->savedReminder.due, parseDate("2026-10-14T15:30"));
}

TEST_F(EventKitRemindersTest, WithoutADueDateNoneIsSetAndWithoutNotesNil) {
    database->saveReminder({"Milk", {}, 0, {}}, work);
    const Calls journal = calls();
    EXPECT_EQ(std::ranges::count(journal, "setNotes: nil"), 1);
    for (const std::string& call : journal) {
        EXPECT_FALSE(call.starts_with("setDueDateComponents:")) << call;
    }
}

TEST_F(EventKitRemindersTest, ADueDateIsGregorianWhateverCalendarTheUserHas) {
    for (const char* calendar :
         {"buddhist", "japanese", "persian", "hebrew", "islamic", "iso8601", "gregorian", ""}) {
        standIn.currentCalendar = calendar;
        standIn.clearJournal();
        saveMilk(*parseDate("2026-10-14T15:30"));
        EXPECT_EQ(calls().at(4), "setDueDateComponents: 2026-10-14 15:30") << calendar;
    }
}

TEST_F(EventKitRemindersTest, ADueDateIsSavedInTheUsersCurrentZone) {
    saveMilk(*parseDate("2026-10-14T22:30:00Z"));
    EXPECT_EQ(calls().at(4), "setDueDateComponents: 2026-10-15 0:30");
    const ScopedVariable moved{"TZ", "America/New_York"};
    standIn.clearJournal();
    saveMilk(*parseDate("2026-10-14T22:30:00Z"));
    EXPECT_EQ(calls().at(4), "setDueDateComponents: 2026-10-14 18:30");
}

TEST_F(EventKitRemindersTest, ADueDateIsReadWithItsOwnCalendarOrTheUsers) {
    const Instant halfPastThree = *parseDate("2026-10-14T15:30");
    EXPECT_EQ(dueOf({2026, 10, 14, 15, 30, true, {}}), halfPastThree);
    EXPECT_EQ(dueOf({2026, 10, 14, 15, 30, false, {}}), halfPastThree);
    EXPECT_EQ(dueOf({2026, 10, 14, {}, {}, true, {}}), start);
    EXPECT_EQ(dueOf({2026, 10, 14, {}, {}, false, {}}), start);
}

TEST_F(EventKitRemindersTest, ADueDateWithAZoneIsReadInThatZone) {
    EXPECT_EQ(dueOf({2026, 10, 14, 15, 30, true, "America/New_York"}),
              parseDate("2026-10-14T15:30:00-04:00"));
}

TEST_F(EventKitRemindersTest, ADueDateWithoutACalendarOfItsOwnIsGregorian) {
    standIn.currentCalendar = "buddhist";
    EXPECT_EQ(dueOf({2026, 10, 14, {}, {}, false, {}}), start);
}

TEST_F(EventKitRemindersTest, AFailedSaveThrowsTheErrorsDescriptionAndTheReminderIsForgotten) {
    standIn.errors["saveReminder:commit:error:"] = "read-only";
    EXPECT_EQ(failureOf([&] { saveMilk(); }), "read-only");
    EXPECT_EQ(calls().back(), "reset");
    EXPECT_EQ(failureOf([&] { database->completeReminder("milk"); }), "read-only");
    EXPECT_EQ(calls().back(), "reset");
    EXPECT_FALSE(data->changed());
}

TEST_F(EventKitRemindersTest, ASaveThatReturnsNoWithoutAnErrorIsNotAFailure) {
    standIn.refusals = {"saveReminder:commit:error:"};
    EXPECT_EQ(failureOf([&] { saveMilk(); }), "no failure");
    EXPECT_TRUE(database->completeReminder("milk"));
}

TEST_F(EventKitRemindersTest, AnExceptionWhileSavingIsAnErrorAndTheReminderIsForgotten) {
    for (const char* call :
         {"reminderWithEventStore:", "setTitle:", "setNotes:", "setPriority:",
          "setDueDateComponents:", "setCalendar:", "saveReminder:commit:error:"}) {
        standIn.raises = {{call, std::string{"no "} + call}};
        EXPECT_EQ(failureOf([&] { saveMilk(start); }), std::string{"no "} + call);
        EXPECT_EQ(calls().back(), "reset") << call;
    }
    for (const char* call : {"setCompleted:", "saveReminder:commit:error:"}) {
        standIn.raises = {{call, std::string{"no "} + call}};
        EXPECT_EQ(failureOf([&] { database->completeReminder("milk"); }),
                  std::string{"no "} + call);
    }
    EXPECT_FALSE(data->changed());
}

TEST_F(EventKitRemindersTest, CompletingIsOneChangeAndOneCommit) {
    EXPECT_TRUE(database->completeReminder("milk"));
    EXPECT_EQ(calls(), (Calls{"calendarItemWithIdentifier: milk", "setCompleted: YES",
                              "saveReminder:commit:error: Milk YES"}));
    EXPECT_EQ(data->journal.back(), "completeReminder milk");
    EXPECT_FALSE(database->completeReminder("bread"));
    EXPECT_TRUE(database->completeReminder("milk"));
}

TEST_F(EventKitRemindersTest, AReminderDeletedByOthersMeanwhileIsTheFrameworksError) {
    standIn.errors["saveReminder:commit:error:"] = "gone";
    EXPECT_EQ(failureOf([&] { database->completeReminder("milk"); }), "gone");
}
