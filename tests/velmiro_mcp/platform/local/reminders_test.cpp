// Reminders in folders of files: how a VTODO is read, which are listed, and how one is written.

#include "tests/velmiro_mcp/platform/local/Support.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/base/Dates.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace velmiro::local {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class LocalReminders : public testing::Test {
protected:
    Reminder read(std::string_view lines, std::string_view before = "") {
        home.writeReminder("Home", "a.ics", reminderFile(lines, before));
        auto all = fetched(*database, {true, std::nullopt, nullptr});
        EXPECT_EQ(all.size(), 1U) << lines;
        return all.empty() ? Reminder{} : all.front();
    }
    std::string due(std::string_view lines, std::string_view before = "") {
        const auto date = read(lines, before).due;
        return date ? dateText(*date) : "none";
    }
    Texts titles(const ReminderQuery& query = {}) {
        Texts found;
        for (const Reminder& reminder : fetched(*database, query)) {
            found.push_back(reminder.title.value_or("(none)"));
        }
        return found;
    }
    void add(const std::string& list, const std::string& title, const std::string& lines = "") {
        home.writeReminder(list, title + ".ics",
                           "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:" + title + "\nSUMMARY:" + title +
                               "\n" + lines + "END:VTODO\nEND:VCALENDAR\n");
    }
    Calendar list(std::size_t index) { return database->calendars(EntityType::reminder).at(index); }

    ScopedVariable zone{"TZ", "Europe/Berlin"};
    TemporaryHome home;
    std::unique_ptr<EventDatabase> database = openEventDatabase();
};

} // namespace

TEST_F(LocalReminders, AllFieldsAreRead) {
    const Reminder reminder = read("SUMMARY:Milk\\, fresh\r\nDESCRIPTION:two\\nlines\r\n"
                                   "PRIORITY:9\r\nDUE:20261014T130000Z\r\n");
    EXPECT_EQ(reminder.identifier, "todo@example.org");
    EXPECT_EQ(reminder.title, "Milk, fresh");
    EXPECT_EQ(reminder.notes, "two\nlines");
    EXPECT_EQ(reminder.list, "Home");
    EXPECT_EQ(reminder.priority, 9);
    EXPECT_FALSE(reminder.completed);
    EXPECT_EQ(reminder.due, at("2026-10-14T15:00"));
}

TEST_F(LocalReminders, OneWithNothingInItIsAReminderToo) {
    const Reminder reminder = read("");
    EXPECT_FALSE(reminder.title || reminder.notes || reminder.due);
    EXPECT_EQ(reminder.priority, 0);
}

TEST_F(LocalReminders, PriorityIsZeroToNineAndAnythingElseNone) {
    EXPECT_EQ(read("PRIORITY:1\r\n").priority, 1);
    EXPECT_EQ(read("PRIORITY: 5 \r\n").priority, 5);
    for (const char* other : {"10", "-1", "high", "", "1.5", "99999999999"}) {
        EXPECT_EQ(read("PRIORITY:" + std::string{other} + "\r\n").priority, 0) << other;
    }
}

TEST_F(LocalReminders, CompletedIsRecognisedInEveryForm) {
    for (const char* done :
         {"STATUS:COMPLETED", "status:completed", "STATUS: COMPLETED\t",
          "COMPLETED:20261014T130000Z", "PERCENT-COMPLETE:100", "PERCENT-COMPLETE: 100 "}) {
        EXPECT_TRUE(read(std::string{done} + "\r\n").completed) << done;
    }
    for (const char* open :
         {"STATUS:NEEDS-ACTION", "STATUS:IN-PROCESS", "STATUS:CANCELLED", "PERCENT-COMPLETE:99"}) {
        EXPECT_FALSE(read(std::string{open} + "\r\n").completed) << open;
    }
}

TEST_F(LocalReminders, DueIsReadInEveryForm) {
    EXPECT_EQ(due("DUE:20261014T130000Z\r\n"), "2026-10-14T15:00:00+02:00") << "UTC";
    EXPECT_EQ(due("DUE:20261014T150000\r\n"), "2026-10-14T15:00:00+02:00") << "floating";
    EXPECT_EQ(due("DUE;TZID=America/New_York:20261014T090000\r\n"), "2026-10-14T15:00:00+02:00");
    EXPECT_EQ(due("DUE;VALUE=DATE:20261014\r\n"), "2026-10-14T00:00:00+02:00") << "midnight";
    EXPECT_EQ(due("DTSTART:20261014T130000Z\r\nDURATION:PT2H\r\n"), "2026-10-14T17:00:00+02:00");
    EXPECT_EQ(due("DTSTART;VALUE=DATE:20261024\r\nDURATION:P2D\r\n"), "2026-10-26T00:00:00+01:00")
        << "days by the calendar, across the change of the clock";
    EXPECT_EQ(due("DTSTART:20261014T130000Z\r\nDURATION:-PT2H\r\n"), "2026-10-14T15:00:00+02:00");
}

TEST_F(LocalReminders, WithoutDueOrDurationNothingIsDue) {
    EXPECT_EQ(due("DTSTART:20261014T130000Z\r\n"), "none");
    EXPECT_EQ(due("DUE:soon\r\n"), "none");
    EXPECT_EQ(due("DUE:20260230\r\n"), "none") << "no such day";
}

TEST_F(LocalReminders, AZoneUnknownToTheSystemIsReadFromTheFile) {
    const auto described = [](const std::string& name) {
        return "BEGIN:VTIMEZONE\r\nTZID:" + name +
               "\r\nBEGIN:STANDARD\r\nDTSTART:19700101T000000\r\nTZOFFSETFROM:+0500\r\n"
               "TZOFFSETTO:+0500\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n";
    };
    EXPECT_EQ(due("DUE;TZID=Ours:20261014T150000\r\n", described("Ours")),
              "2026-10-14T12:00:00+02:00");
    EXPECT_EQ(due("DUE;TZID=Europe/London:20261014T150000\r\n", described("Europe/London")),
              "2026-10-14T16:00:00+02:00");
}

TEST_F(LocalReminders, OpenOnesAreListedInTheStoresOrder) {
    add("Work", "w");
    add("Home", "b");
    add("Home", "a");
    add("Home", "done", "STATUS:COMPLETED\n");
    add("Home", "given up", "STATUS:CANCELLED\n");
    EXPECT_EQ(titles(), (Texts{"a", "b", "w"}));
    EXPECT_EQ(titles({true, std::nullopt, nullptr}), (Texts{"a", "b", "done", "given up", "w"}));
    const Calendar work = list(1);
    EXPECT_EQ(titles({false, std::nullopt, &work}), Texts{"w"});
}

TEST_F(LocalReminders, ABoundLeavesOutWhatIsDueLaterOrNever) {
    add("Home", "before", "DUE:20261013T215959Z\n");
    add("Home", "exactly then", "DUE;VALUE=DATE:20261014\n");
    add("Home", "never");
    EXPECT_EQ(titles({false, at("2026-10-14"), nullptr}), Texts{"before"});
    EXPECT_EQ(titles(), (Texts{"before", "exactly then", "never"}));
    EXPECT_EQ(titles({true, at("2000-01-01"), nullptr}), (Texts{"before", "exactly then", "never"}))
        << "with completed ones the bound has no meaning";
}

TEST_F(LocalReminders, AnEventIsNoReminderAndAReminderNoEvent) {
    home.writeReminder("Home", "event.ics", eventFile("DTSTART:20261014T130000Z\r\n"));
    home.write("Work", "todo.ics", reminderFile("SUMMARY:Milk\r\n"));
    EXPECT_EQ(titles(), Texts{});
    EXPECT_FALSE(database->reminder("event@example.org"));
    EXPECT_FALSE(database->reminder("todo@example.org"));
    EXPECT_FALSE(database->completeReminder("event@example.org"));
    EXPECT_TRUE(database->events(at("2026-10-14"), at("2026-10-15"), nullptr).empty());
}

TEST_F(LocalReminders, SeveralInAFileAreAllRead) {
    home.writeReminder("Home", "a.ics",
                       "BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:one\nEND:VTODO\n"
                       "BEGIN:VTODO\nSUMMARY:two\nEND:VTODO\nEND:VCALENDAR\n"
                       "BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:three\nEND:VTODO\n"
                       "BEGIN:VTODO\nSUMMARY:cut off\n");
    EXPECT_EQ(titles(), (Texts{"one", "two", "three"}));
    EXPECT_EQ(database->reminder("Home/a.ics")->title, "one") << "an identifier from its path";
    EXPECT_EQ(database->reminder("Home/a.ics#3")->title, "three");
}

TEST_F(LocalReminders, AnOccurrenceThatDiffersFromItsSeriesIsNotAReminderOfItsOwn) {
    home.writeReminder("Home", "a.ics",
                       "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:a\nRECURRENCE-ID:20261015T130000Z\n"
                       "SUMMARY:changed\nSTATUS:COMPLETED\nEND:VTODO\n"
                       "BEGIN:VTODO\nUID:a\nSUMMARY:series\nDUE:20261014T130000Z\n"
                       "RRULE:FREQ=DAILY\nEND:VTODO\nEND:VCALENDAR\n");
    EXPECT_EQ(titles({true, std::nullopt, nullptr}), Texts{"series"});
    EXPECT_EQ(database->reminder("a")->title, "series");
}

TEST_F(LocalReminders, ADamagedFileHidesNoOther) {
    add("Home", "good");
    home.writeReminder("Home", "bad.ics", "no calendar at all");
    home.writeReminder("Home", "empty.ics", "");
    fs::create_directory(home.reminders() + "/Home/folder.ics");
    EXPECT_EQ(titles(), Texts{"good"});
}

TEST_F(LocalReminders, AnEmptyRootMeansNoList) {
    fs::create_directories(home.reminders());
    EXPECT_FALSE(database->defaultListForNewReminders());
    EXPECT_TRUE(database->calendars(EntityType::reminder).empty());
}

TEST_F(LocalReminders, ANewOneIsReadBackAsItWasGiven) {
    const NewReminder wanted{"Milk; \\n, \"fresh\" 🥛", "two\nlines\tand a tab", 7,
                             at("2026-10-14T15:00")};
    fs::create_directories(home.reminders() + "/Home");
    const std::string uid = database->saveReminder(wanted, list(0));
    EXPECT_EQ(namesIn(home.reminders() + "/Home"), Texts{uid + ".ics"});
    const auto found = database->reminder(uid);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->title, wanted.title);
    EXPECT_EQ(found->notes, wanted.notes);
    EXPECT_EQ(found->priority, 7);
    EXPECT_EQ(found->due, wanted.due);
    EXPECT_FALSE(found->completed);
}

TEST_F(LocalReminders, ANewOneHasNoMoreLinesThanItNeeds) {
    fs::create_directories(home.reminders() + "/Home");
    const std::string uid = database->saveReminder({"Milk", {}, 0, {}}, list(0));
    const std::string text = readFile(home.reminders() + "/Home/" + uid + ".ics");
    for (const char* absent : {"DUE", "PRIORITY", "DESCRIPTION"}) {
        EXPECT_EQ(text.find(absent), std::string::npos) << absent;
    }
    EXPECT_TRUE(text.ends_with("STATUS:NEEDS-ACTION\r\nEND:VTODO\r\nEND:VCALENDAR\r\n")) << text;
}

TEST_F(LocalReminders, WhatAFileCannotHoldIsAnErrorAndNoFile) {
    fs::create_directories(home.reminders() + "/Home");
    const auto error = [&](const NewReminder& reminder) -> std::string {
        try {
            database->saveReminder(reminder, list(0));
            return "none";
        } catch (const PlatformError& thrown) {
            return thrown.what();
        }
    };
    EXPECT_EQ(error({std::string{"Mi\0lk", 5}, {}, 0, {}}),
              "the title of the reminder contains a control character that a calendar file cannot "
              "hold; nothing was saved");
    EXPECT_EQ(error({"Milk", "bell\a", 0, {}}),
              "the text of the notes of the reminder contains a control character that a calendar "
              "file cannot hold; nothing was saved");
    EXPECT_EQ(error({"Milk", {}, 0, at("9999-12-31T23:59:00-02:00")}),
              "a calendar file can only hold dates of the years 1 to 9999; nothing was saved");
    EXPECT_EQ(error({"Milk", {}, 12, {}}), "a calendar file cannot hold this reminder as it was "
                                           "asked for; nothing was saved");
    EXPECT_TRUE(fs::is_empty(home.reminders() + "/Home"));
}

TEST_F(LocalReminders, AListThatIsGoneCannotBeWritten) {
    fs::create_directories(home.reminders() + "/Home");
    const Calendar gone = list(0);
    fs::remove(home.reminders() + "/Home");
    try {
        database->saveReminder({"Milk", {}, 0, {}}, gone);
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "the list ‘Home’ cannot be written: No such file or directory");
    }
}

TEST_F(LocalReminders, WhatAnotherProgramChangesIsSeenByTheNextCall) {
    add("Home", "a");
    EXPECT_EQ(titles(), Texts{"a"});
    add("Home", "b");
    EXPECT_EQ(titles(), (Texts{"a", "b"}));
    home.writeReminder("Home", "a.ics", reminderFile("SUMMARY:x\r\n"));
    EXPECT_EQ(titles(), (Texts{"x", "b"}));
    home.writeReminder("Home", "a.ics", reminderFile("SUMMARY:y\r\n"));
    EXPECT_EQ(titles(), (Texts{"y", "b"})) << "an edit of equal size";
    fs::rename(home.reminders() + "/Home/b.ics", home.reminders() + "/Home/a.ics");
    EXPECT_EQ(titles(), Texts{"b"}) << "a replacement";
    fs::remove(home.reminders() + "/Home/a.ics");
    EXPECT_EQ(titles(), Texts{});
}

TEST_F(LocalReminders, AChangeOfTheUsersZoneIsSeenByTheNextCall) {
    EXPECT_EQ(due("DUE;VALUE=DATE:20261014\r\n"), "2026-10-14T00:00:00+02:00");
    const ScopedVariable other{"TZ", "Asia/Tokyo"};
    EXPECT_EQ(dateText(*fetched(*database).front().due), "2026-10-14T00:00:00+09:00");
}

TEST_F(LocalReminders, BlanksAroundAnIdentifierDoNotCount) {
    home.writeReminder("Home", "a.ics", "BEGIN:VTODO\nUID: x\u00A0\nEND:VTODO\n");
    EXPECT_EQ(fetched(*database).front().identifier, "x");
    EXPECT_TRUE(database->completeReminder("x"));
    home.writeReminder("Home", "b.ics", "BEGIN:VTODO\nUID: \nEND:VTODO\n");
    const Reminder unnamed = fetched(*database).front();
    EXPECT_NE(unnamed.identifier, "") << "a blank one is none";
    EXPECT_TRUE(database->completeReminder(unnamed.identifier));
}

TEST_F(LocalReminders, IdentifiersAreNeverPaths) {
    add("Home", "a");
    for (const std::string& identifier :
         {std::string{"../../etc/passwd"}, std::string{"/etc/passwd"}, std::string{"a\0", 2},
          std::string{"a\n"}, std::string{""}, std::string{"Home/a.ics"}}) {
        EXPECT_FALSE(database->reminder(identifier)) << identifier;
        EXPECT_FALSE(database->completeReminder(identifier)) << identifier;
    }
}

} // namespace velmiro::local
