// The reminders of the event store, over a database that records its calls.

#include "velmiro_mcp/services/EventStore.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "support/Eventually.hpp"
#include "support/ScopedVariable.hpp"
#include "tests/support/FakeEventDatabase.hpp"
#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <thread>

using namespace velmiro;
using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::syncWait;
using velmiro::support::ScopedVariable;
using velmiro::test::FakeEventDatabase;

namespace {

using Journal = std::vector<std::string>;

class EventStoreReminders : public testing::Test {
protected:
    std::shared_ptr<FakeEventDatabase::Script> database =
        std::make_shared<FakeEventDatabase::Script>();
    EventStore store{std::make_unique<FakeEventDatabase>(database)};
    ScopedVariable zone{"TZ", "Europe/Berlin"};

    JSONValue list(std::optional<std::string> name = std::nullopt, bool completed = false,
                   std::optional<Instant> dueBefore = std::nullopt) {
        return syncWait(store.reminders(std::move(name), completed, dueBefore));
    }
    std::string create(NewReminder reminder, std::optional<std::string> name = std::nullopt) {
        return syncWait(store.createReminder(std::move(reminder), std::move(name)));
    }
    std::string record(const Reminder& reminder) {
        database->reminders = {reminder};
        return list().jsonString();
    }
    template <typename Call>
    static std::string failure(const Call& call) {
        try {
            call();
            return "no failure";
        } catch (const MCPToolError& error) {
            return error.message;
        }
    }
    static Reminder reminder(const std::string& identifier) {
        Reminder made;
        made.identifier = identifier;
        made.title = "Title of " + identifier;
        made.list = "Reminders";
        return made;
    }
};

} // namespace

TEST_F(EventStoreReminders, EveryOperationNeedsFullAccess) {
    const std::string noAccess = "Velmiro has no full access to Reminders. Ask the user to turn it "
                                 "on in Velmiro › Settings › Connectors.";
    for (const auto status : {AuthorizationStatus::notDetermined, AuthorizationStatus::restricted,
                              AuthorizationStatus::denied, AuthorizationStatus::writeOnly}) {
        database->reminderAccess = status;
        EXPECT_EQ(failure([&] { list(); }), noAccess);
        EXPECT_EQ(failure([&] { create({}); }), noAccess);
        EXPECT_EQ(failure([&] { syncWait(store.reminderTitle("a")); }), noAccess);
        EXPECT_EQ(failure([&] { syncWait(store.completeReminder("a")); }), noAccess);
    }
    EXPECT_EQ(database->journal, Journal(16, "authorizationStatus 1"));
}

TEST_F(EventStoreReminders, AListIsFoundByItsNameRegardlessOfCase) {
    database->lists = {{"l1", "Reminders"}, {"l2", "Work"}, {"l3", "WORK"}};
    list("work");
    EXPECT_EQ(database->journal.back(), "fetchReminders open - l2");
    list();
    EXPECT_EQ(database->journal.back(), "fetchReminders open - everywhere");
}

TEST_F(EventStoreReminders, AnUnknownListIsAnsweredWithTheKnownOnes) {
    EXPECT_EQ(failure([&] { list("Groceries"); }),
              "no list named ‘Groceries’. Known: Reminders, Work");
    EXPECT_EQ(failure([&] { create({}, "Groceries"); }),
              "no list named ‘Groceries’. Known: Reminders, Work");
    EXPECT_EQ(failure([&] { list(""); }), "no list named ‘’. Known: Reminders, Work");
    EXPECT_FALSE(database->changed());
}

TEST_F(EventStoreReminders, TheDueDateIsPassedOnToTheQuery) {
    list(std::nullopt, false, parseDate("2026-10-14"));
    EXPECT_EQ(database->journal.back(), "fetchReminders open 1791928800 everywhere");
    list(std::nullopt, true, parseDate("2026-10-14"));
    EXPECT_TRUE(database->journal.back().starts_with("fetchReminders all "));
}

TEST_F(EventStoreReminders, ARecordAlwaysHasItsFiveKeys) {
    Reminder bare;
    bare.identifier = "a";
    EXPECT_EQ(record(bare), R"([{"completed":false,"id":"a","list":"","priority":0,"title":""}])");
}

TEST_F(EventStoreReminders, ARecordHasDueAndNotesOnlyIfTheReminderDoes) {
    Reminder full = reminder("a");
    full.completed = true;
    full.priority = 9;
    full.due = parseDate("2026-10-14");
    full.notes = "two\nlines";
    EXPECT_EQ(record(full),
              R"([{"completed":true,"due":"2026-10-14T00:00:00+02:00","id":"a",)"
              R"("list":"Reminders","notes":"two\nlines","priority":9,"title":"Title of a"}])");
    full.notes = "";
    full.due.reset();
    EXPECT_EQ(record(full), R"([{"completed":true,"id":"a","list":"Reminders","priority":9,)"
                            R"("title":"Title of a"}])");
}

TEST_F(EventStoreReminders, NotesAreCutAfterThreeHundredCharacters) {
    std::string family; // characters of 25 bytes each
    for (int count = 0; count < 501; ++count) {
        family += "👨‍👩‍👧‍👦";
    }
    Reminder long_ = reminder("a");
    long_.notes = family;
    record(long_);
    EXPECT_EQ(list().arrayValue()->begin()->operator[]("notes")->stringValue()->size(),
              300 * family.size() / 501);
}

TEST_F(EventStoreReminders, AnEnormousTextDoesNotKeepTheOthersFromBeingRead) {
    Reminder enormous = reminder("a");
    enormous.title = std::string(4'000'000, 'x');
    enormous.list = std::string(5'000, 'x');
    database->reminders = {enormous, reminder("b")};
    const JSONValue records = list();
    EXPECT_EQ((*records.arrayValue())[0]["title"]->stringValue(), std::string(1024, 'x'));
    EXPECT_EQ((*records.arrayValue())[0]["list"]->stringValue(), std::string(1024, 'x'));
    EXPECT_EQ((*records.arrayValue())[1]["title"]->stringValue(), "Title of b");
    database->reminders[0].title = std::string(100'000, 'x');
    EXPECT_EQ((*list().arrayValue())[0]["title"]->stringValue()->size(), 100'000U)
        << "which is not enormous";
}

TEST_F(EventStoreReminders, TheFirstThreeHundredComeInTheDatabasesOrder) {
    for (int count = 301; count > 0; --count) {
        database->reminders.push_back(reminder(std::to_string(count)));
    }
    const JSONValue records = list();
    ASSERT_EQ(records.arrayValue()->size(), 300U);
    EXPECT_EQ((*records.arrayValue())[0]["id"]->stringValue(), "301");
    EXPECT_EQ((*records.arrayValue())[299]["id"]->stringValue(), "2");
}

TEST_F(EventStoreReminders, NoAnswerCountsAsNoReminders) {
    database->fetch = [](const RemindersFound& found) { found(std::nullopt); };
    EXPECT_EQ(list().jsonString(), "[]");
}

TEST_F(EventStoreReminders, TheAnswerMayComeLateAndOnAnotherThread) {
    std::thread answering;
    database->fetch = [&](RemindersFound found) {
        answering = std::thread{[found = std::move(found)] {
            std::this_thread::sleep_for(std::chrono::milliseconds{20});
            found(std::vector<Reminder>{reminder("late")});
        }};
    };
    const JSONValue records = list();
    answering.join();
    EXPECT_EQ((*records.arrayValue())[0]["id"]->stringValue(), "late");
}

TEST_F(EventStoreReminders, NoOperationBeginsBeforeTheDatabaseHasReturned) {
    std::atomic<bool> calling = false;
    database->fetch = [&](const RemindersFound& found) {
        EXPECT_FALSE(calling.exchange(true));
        found(std::vector<Reminder>{});
        std::this_thread::sleep_for(std::chrono::milliseconds{20});
        calling = false;
    };
    std::vector<std::thread> listing;
    for (int number = 0; number < 3; ++number) {
        listing.emplace_back([&] { list(); });
    }
    for (std::thread& thread : listing) {
        thread.join();
    }
}

TEST_F(EventStoreReminders, AnErrorInTheFetchReachesTheCaller) {
    database->fetch = [](const RemindersFound&) { throw PlatformError{"the store is gone"}; };
    EXPECT_THROW(list(), PlatformError);
    database->fetch = nullptr;
    EXPECT_EQ(list().jsonString(), "[]") << "after a failed fetch";
}

TEST_F(EventStoreReminders, OperationsWaitForAFetchThatTakesLong) {
    std::optional<RemindersFound> waiting;
    std::atomic<bool> fetching = false;
    database->fetch = [&](RemindersFound found) {
        waiting = std::move(found);
        fetching = true;
    };
    std::thread first{[&] { list(); }};
    while (!fetching) {
        std::this_thread::yield();
    }
    std::atomic<bool> created = false;
    std::thread second{[&] {
        create({});
        created = true;
    }};
    std::this_thread::sleep_for(std::chrono::milliseconds{30});
    EXPECT_FALSE(created);
    (*waiting)(std::vector<Reminder>{});
    first.join();
    second.join();
    EXPECT_TRUE(created);
}

namespace {

std::string failureOfListing(EventStore& store) {
    try {
        syncWait(store.reminders(std::nullopt, false, std::nullopt));
        return "no failure";
    } catch (const MCPToolError& error) {
        return error.message;
    }
}

} // namespace

TEST_F(EventStoreReminders, AFetchThatIsNeverAnsweredIsAbandonedAndTheStoreStillWorks) {
    EventStore impatient{std::make_unique<FakeEventDatabase>(database),
                         std::chrono::milliseconds{50}};
    std::vector<RemindersFound> kept;
    database->fetch = [&](RemindersFound found) { kept.push_back(std::move(found)); };
    const std::string tooLate = "Reminders did not answer in time. Try again later.";
    EXPECT_EQ(failureOfListing(impatient), tooLate);
    EXPECT_EQ(syncWait(impatient.createReminder({"Milk", {}, 0, {}}, std::nullopt)), "new-id");
    EXPECT_EQ(failureOfListing(impatient), tooLate);
    // An answer that arrives after all finds nobody waiting, and does not answer the next fetch.
    database->fetch = [&](RemindersFound found) {
        kept.at(0)(std::vector<Reminder>{reminder("late")});
        found(std::vector<Reminder>{reminder("own")});
        found = nullptr;
    };
    const JSONValue records = syncWait(impatient.reminders(std::nullopt, false, std::nullopt));
    ASSERT_EQ(records.arrayValue()->size(), 1U);
    EXPECT_EQ((*records.arrayValue())[0]["id"]->stringValue(), "own");
}

TEST_F(EventStoreReminders, AnAnswerAndTheDeadlineMayComeInTheSameMoment) {
    EventStore impatient{std::make_unique<FakeEventDatabase>(database),
                         std::chrono::milliseconds{1}};
    std::vector<std::thread> answering;
    database->fetch = [&](RemindersFound found) {
        answering.emplace_back([found = std::move(found)] {
            std::this_thread::sleep_for(std::chrono::milliseconds{1});
            found(std::vector<Reminder>{});
        });
    };
    for (int round = 0; round < 200; ++round) {
        const std::string failure = failureOfListing(impatient);
        EXPECT_TRUE(failure == "no failure" ||
                    failure == "Reminders did not answer in time. Try again later.")
            << failure;
    }
    for (std::thread& thread : answering) {
        thread.join();
    }
}

TEST_F(EventStoreReminders, AFetchThatWasAnsweredKeepsNoThread) {
    const std::filesystem::path tasks{"/proc/self/task"};
    if (!exists(tasks)) {
        GTEST_SKIP() << "this system does not list a process's threads";
    }
    const auto threads = [&] {
        return std::distance(std::filesystem::directory_iterator{tasks}, {});
    };
    const auto before = threads();
    for (int round = 0; round < 10; ++round) {
        std::thread answering;
        database->fetch = [&](RemindersFound found) {
            answering = std::thread{[found = std::move(found)] {
                std::this_thread::sleep_for(std::chrono::milliseconds{20});
                found(std::vector<Reminder>{});
            }};
        };
        list();
        answering.join();
    }
    // An idle thread ends after a second, one that waited for the deadline only after thirty.
    EXPECT_TRUE(velmiro::support::eventually([&] { return threads() <= before; },
                                             std::chrono::seconds{15}));
}

TEST_F(EventStoreReminders, CreatingPassesEverythingOn) {
    const NewReminder wanted{"Milk", "two bottles", 5, parseDate("2026-10-14T15:00")};
    EXPECT_EQ(create(wanted, "work"), "new-id");
    EXPECT_EQ(database->journal,
              (Journal{"authorizationStatus 1", "calendars 1", "saveReminder Milk in l2"}));
    EXPECT_EQ(database->savedReminder.notes, "two bottles");
    EXPECT_EQ(database->savedReminder.priority, 5);
    EXPECT_EQ(database->savedReminder.due, parseDate("2026-10-14T15:00"));
}

TEST_F(EventStoreReminders, ADueDateHasNoSeconds) {
    create({"Milk", {}, 0, parseDate("2026-10-14T15:00:59.900+02:00")});
    EXPECT_EQ(database->savedReminder.due, parseDate("2026-10-14T15:00"));
}

TEST_F(EventStoreReminders, WithoutANameTheDefaultListIsUsed) {
    create({"Milk", {}, 0, {}});
    EXPECT_EQ(database->journal.back(), "saveReminder Milk in l1");
    database->hasDefaultList = false;
    EXPECT_EQ(failure([&] { create({}); }), "there is no reminders list to add to");
}

TEST_F(EventStoreReminders, APlatformErrorWhileSavingPassesThroughUnchanged) {
    database->saveError = "the disk is full";
    database->reminders = {reminder("a")};
    EXPECT_THROW(create({}), PlatformError);
    EXPECT_THROW(syncWait(store.completeReminder("a")), PlatformError);
}

TEST_F(EventStoreReminders, ATitleIsLookedUpByIdentifier) {
    database->reminders = {reminder("a"), Reminder{}};
    EXPECT_EQ(syncWait(store.reminderTitle("a")).title, "Title of a");
    EXPECT_EQ(syncWait(store.reminderTitle("")).title, "") << "a reminder without a title";
    EXPECT_EQ(failure([&] { syncWait(store.reminderTitle(" b ")); }), "no reminder with id  b ");
}

TEST_F(EventStoreReminders, CompletingWorksAgainOnACompletedOne) {
    database->reminders = {reminder("a")};
    syncWait(store.completeReminder("a"));
    syncWait(store.completeReminder("a"));
    EXPECT_TRUE(database->reminders[0].completed);
    EXPECT_EQ(failure([&] { syncWait(store.completeReminder("b")); }), "no reminder with id b");
}
