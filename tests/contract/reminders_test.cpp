// The contract of every platform: lists and reminders.

#include "tests/contract/PlatformUnderTest.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <algorithm>
#include <ranges>

using namespace velmiro;

namespace {

using Titles = std::vector<std::string>;

class ReminderContract : public test::PlatformTest {
protected:
    Reminder only() const {
        auto found = fetched({true, {}, nullptr});
        EXPECT_EQ(found.size(), 1U);
        return found.empty() ? Reminder{} : std::move(found.front());
    }
    /// Returns the due date of a reminder that has this line.
    std::optional<Instant> due(const std::string& line) const {
        addReminder("Home", "one", "SUMMARY:one\r\n" + line + "\r\n");
        return only().due;
    }
    Reminder savedAndFound(const NewReminder& reminder) {
        const auto list = calendar(EntityType::reminder, "Home");
        const std::string identifier = database->saveReminder(reminder, list);
        Reminder found = only();
        EXPECT_EQ(found.identifier, identifier);
        return found;
    }
};

} // namespace

TEST_F(ReminderContract, AccessIsFullToTheUsersOwnLists) {
    addCalendar("Reminders/Home");
    EXPECT_EQ(database->authorizationStatus(EntityType::reminder), AuthorizationStatus::fullAccess);
}

TEST_F(ReminderContract, AccessIsDeniedWhereTheListsCannotBeRead) {
    addFile("Reminders");
    EXPECT_EQ(database->authorizationStatus(EntityType::reminder), AuthorizationStatus::denied);
    EXPECT_EQ(database->authorizationStatus(EntityType::event), AuthorizationStatus::fullAccess);
}

TEST_F(ReminderContract, ListsComeInTheirOrderAndNewRemindersGoToTheDefaultOne) {
    addCalendar("Reminders/b");
    addCalendar("Reminders/a");
    const auto lists = database->calendars(EntityType::reminder);
    ASSERT_EQ(lists.size(), 2U);
    EXPECT_EQ(lists[0].title, "a");
    EXPECT_EQ(lists[1].title, "b");
    const auto target = database->defaultListForNewReminders();
    ASSERT_TRUE(target);
    EXPECT_EQ(target->identifier, lists[0].identifier);
}

TEST_F(ReminderContract, WithoutListsThereIsNoDefault) {
    addCalendar("Reminders");
    EXPECT_FALSE(database->defaultListForNewReminders());
}

TEST_F(ReminderContract, ANewUserHasAListThatTakesReminders) {
    EXPECT_EQ(database->authorizationStatus(EntityType::reminder), AuthorizationStatus::fullAccess);
    const auto target = database->defaultListForNewReminders();
    ASSERT_TRUE(target);
    EXPECT_EQ(calendar(EntityType::reminder, target->title).identifier, target->identifier);
    EXPECT_EQ(titles({true, {}, &*target}), Titles{});
    const std::string identifier = database->saveReminder({"Milk", {}, 0, {}}, *target);
    EXPECT_EQ(only().identifier, identifier);
    EXPECT_EQ(only().list, target->title);
}

TEST_F(ReminderContract, OpenOnesAreFoundCompletedOnesOnlyWhenAskedFor) {
    addReminder("Home", "open", "SUMMARY:open\r\n");
    addReminder("Home", "done", "SUMMARY:done\r\nSTATUS:COMPLETED\r\n");
    EXPECT_EQ(titles(ReminderQuery{}), Titles{"open"});
    EXPECT_EQ(titles({true, {}, nullptr}), (Titles{"done", "open"}));
}

TEST_F(ReminderContract, AtMostTheRequestedNumberIsReturnedTheFirstOnes) {
    for (const std::string title : {"a", "b", "c", "d"}) {
        addReminder("Home", title, "SUMMARY:" + title + "\r\n");
        addReminder("Work", title, "SUMMARY:" + title + "\r\n");
    }
    const auto all = fetched({});
    ASSERT_EQ(all.size(), 8U);
    for (const std::size_t most : {0U, 1U, 3U, 4U, 5U, 8U, 300U}) {
        const auto found = fetched({false, {}, nullptr, most});
        ASSERT_EQ(found.size(), std::min<std::size_t>(most, 8)) << most;
        EXPECT_TRUE(std::ranges::equal(found, all | std::views::take(found.size()), {},
                                       &Reminder::identifier, &Reminder::identifier));
    }
}

TEST_F(ReminderContract, WithoutADueDateAReminderIsDueBeforeNoDate) {
    addReminder("Home", "never", "SUMMARY:never\r\n");
    addReminder("Home", "early", "SUMMARY:early\r\nDUE:20261013T080000Z\r\n");
    addReminder("Home", "late", "SUMMARY:late\r\nDUE:20261015T080000Z\r\n");
    EXPECT_EQ(titles({false, at("2026-10-14"), nullptr}), Titles{"early"});
    EXPECT_EQ(titles({false, {}, nullptr}), (Titles{"early", "late", "never"}));
}

TEST_F(ReminderContract, WithCompletedOnesTheDueDateIsIgnored) {
    addReminder("Home", "done", "SUMMARY:done\r\nSTATUS:COMPLETED\r\nDUE:20261015T080000Z\r\n");
    addReminder("Home", "never", "SUMMARY:never\r\n");
    EXPECT_EQ(titles({true, at("2026-10-14"), nullptr}), (Titles{"done", "never"}));
}

TEST_F(ReminderContract, RemindersOfOneListAreNotThoseOfAnother) {
    addReminder("Home", "milk", "SUMMARY:milk\r\n");
    addReminder("Work", "report", "SUMMARY:report\r\n");
    const Calendar work = calendar(EntityType::reminder, "Work");
    EXPECT_EQ(titles({false, {}, &work}), Titles{"report"});
}

TEST_F(ReminderContract, AListThatWasRemovedMeanwhileHasNoReminders) {
    addReminder("Home", "milk", "SUMMARY:milk\r\n");
    addReminder("Work", "report", "SUMMARY:report\r\n");
    const Calendar work = calendar(EntityType::reminder, "Work");
    remove("Reminders/Work");
    EXPECT_EQ(titles({false, {}, &work}), Titles{});
    EXPECT_EQ(titles({true, {}, &work}), Titles{});
}

TEST_F(ReminderContract, RemindersComeInTheOrderOfTheStore) {
    for (const char* uid : {"c", "a", "b"}) {
        addReminder("Home", uid, std::string{"SUMMARY:"} + uid + "\r\n");
    }
    Titles found;
    for (const Reminder& reminder : fetched({})) {
        found.push_back(reminder.identifier);
    }
    EXPECT_EQ(found, (Titles{"a", "b", "c"}));
}

TEST_F(ReminderContract, AReminderHasAllItsProperties) {
    addReminder("Home", "milk",
                "SUMMARY:Milk 🥛\\, two\r\nDESCRIPTION:Fresh\\nnot old\r\nPRIORITY:9\r\n"
                "DUE;TZID=America/New_York:20261013T090000\r\n");
    const Reminder found = only();
    EXPECT_EQ(found.identifier, "milk");
    EXPECT_EQ(found.title, "Milk 🥛, two");
    EXPECT_EQ(found.list, "Home");
    EXPECT_FALSE(found.completed);
    EXPECT_EQ(found.priority, 9);
    EXPECT_EQ(found.due, at("2026-10-13T13:00:00Z"));
    EXPECT_EQ(found.notes, "Fresh\nnot old");
}

TEST_F(ReminderContract, MissingPropertiesAreAbsent) {
    addReminder("Home", "bare", "STATUS:NEEDS-ACTION\r\n");
    const Reminder found = only();
    EXPECT_EQ(found.title.value_or(""), "");
    EXPECT_EQ(found.notes.value_or(""), "");
    EXPECT_FALSE(found.due);
    EXPECT_EQ(found.priority, 0);
}

TEST_F(ReminderContract, ADateWithoutATimeIsDueAtTheBeginningOfThatDay) {
    EXPECT_EQ(due("DUE;VALUE=DATE:20261014"), at("2026-10-14T00:00:00+02:00"));
}

TEST_F(ReminderContract, ATimeWithoutAZoneIsInTheUsersZone) {
    EXPECT_EQ(due("DUE:20261225T090000"), at("2026-12-25T09:00:00+01:00"));
}

TEST_F(ReminderContract, AReminderIsFoundByItsIdentifier) {
    addReminder("Home", "milk", "SUMMARY:milk\r\n");
    addReminder("Home", "tax", "SUMMARY:tax\r\nSTATUS:COMPLETED\r\n");
    EXPECT_EQ(database->reminder("milk").value().title, "milk");
    EXPECT_TRUE(database->reminder("tax").value().completed);
}

TEST_F(ReminderContract, AnUnknownIdentifierFindsNone) {
    addReminder("Home", "milk", "SUMMARY:milk\r\n");
    addEvent("Work", "fair", "DTSTART;VALUE=DATE:20261014\r\nSUMMARY:Fair\r\n");
    for (const std::string& identifier :
         {std::string{}, std::string{"MILK"}, std::string{"fair"}, std::string{"../milk"},
          std::string{"milk\0", 5}, std::string{"milk\n"}, std::string(100'000, 'm')}) {
        EXPECT_FALSE(database->reminder(identifier)) << identifier.substr(0, 20);
        EXPECT_FALSE(database->completeReminder(identifier)) << identifier.substr(0, 20);
    }
}

TEST_F(ReminderContract, ASavedReminderIsFoundAsItWasGiven) {
    addCalendar("Reminders/Home");
    const Reminder found = savedAndFound({"Milk", "Fresh\nnot old", 5, at("2026-10-14T15:30")});
    EXPECT_EQ(found.title, "Milk");
    EXPECT_EQ(found.notes, "Fresh\nnot old");
    EXPECT_EQ(found.priority, 5);
    EXPECT_EQ(found.due, at("2026-10-14T15:30"));
    EXPECT_EQ(found.list, "Home");
    EXPECT_FALSE(found.completed);
}

TEST_F(ReminderContract, ASavedReminderNeedsOnlyATitle) {
    addCalendar("Reminders/Home");
    const Reminder found = savedAndFound({"Milk", {}, 0, {}});
    EXPECT_FALSE(found.notes);
    EXPECT_FALSE(found.due);
    EXPECT_EQ(found.priority, 0);
}

TEST_F(ReminderContract, ASavedDueDateIsTheSameMinuteInWinterAndOnTheDayOfTheChange) {
    for (const char* date : {"2026-01-14T00:00", "2026-03-29T12:00", "2026-10-25T01:59",
                             "2026-10-25T04:00", "2027-12-31T23:59"}) {
        addCalendar("Reminders/Home");
        EXPECT_EQ(savedAndFound({"Milk", {}, 0, at(date)}).due, at(date)) << date;
        remove("Reminders/Home");
    }
}

TEST_F(ReminderContract, WhatCannotBeStoredAsGivenIsAnErrorAndNothingIsStored) {
    addCalendar("Reminders/Home");
    const auto list = calendar(EntityType::reminder, "Home");
    EXPECT_THROW(database->saveReminder({std::string{"a\0b", 3}, {}, 0, {}}, list), PlatformError);
    EXPECT_EQ(titles(ReminderQuery{}), Titles{});
}

TEST_F(ReminderContract, SavingToAListThatWasRemovedMeanwhileIsAnError) {
    addCalendar("Reminders/Home");
    addCalendar("Reminders/Work");
    const auto list = calendar(EntityType::reminder, "Work");
    remove("Reminders/Work");
    EXPECT_THROW(database->saveReminder({"Milk", {}, 0, {}}, list), PlatformError);
    EXPECT_EQ(titles(ReminderQuery{}), Titles{});
}

TEST_F(ReminderContract, ACompletedReminderIsNoLongerOpenAndCanBeCompletedAgain) {
    addReminder("Home", "milk", "SUMMARY:milk\r\n");
    EXPECT_TRUE(database->completeReminder("milk"));
    EXPECT_EQ(titles(ReminderQuery{}), Titles{});
    EXPECT_TRUE(only().completed);
    EXPECT_TRUE(database->completeReminder("milk"));
    EXPECT_TRUE(only().completed);
}
