// The contract of every platform: calendars and events.

#include "tests/contract/PlatformUnderTest.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <algorithm>
#include <thread>

using namespace velmiro;
using velmiro::test::Ability;
using velmiro::test::whyNot;

namespace {

using Titles = std::vector<std::string>;

class EventContract : public test::PlatformTest {
protected:
    /// Saves an event of 14 October 2026 and returns it as it is found again.
    Event savedAndFound(const NewEvent& event) {
        const std::string identifier =
            database->saveEvent(event, calendar(EntityType::event, "Work"));
        EXPECT_FALSE(identifier.empty());
        Event found = onlyEvent("2026-10-14", "2026-10-15");
        EXPECT_EQ(found.identifier, identifier);
        return found;
    }
    std::string failureOfSaving(const NewEvent& event, const Calendar& target) {
        try {
            database->saveEvent(event, target);
            return "";
        } catch (const PlatformError& error) {
            return error.what();
        }
    }
    /// Returns the first and the last day of an event.
    static std::string daysOf(const Event& event) {
        const auto day = [](Instant instant) { return dateText(instant).substr(0, 10); };
        // The end is the last second of the last day, or the first after it.
        return day(event.start.value()) + ".." + day(event.end.value() - std::chrono::seconds{1});
    }
    NewEvent dentist() const {
        return {"Dentist", at("2026-10-14T15:00"), at("2026-10-14T16:00"), false, {}, {}};
    }
};

} // namespace

TEST_F(EventContract, AccessIsFullToTheUsersOwnCalendars) {
    addCalendar("Calendars/Work");
    EXPECT_EQ(database->authorizationStatus(EntityType::event), AuthorizationStatus::fullAccess);
}

TEST_F(EventContract, AccessIsDeniedWhereTheCalendarsCannotBeRead) {
    addFile("Calendars");
    EXPECT_EQ(database->authorizationStatus(EntityType::event), AuthorizationStatus::denied);
    EXPECT_EQ(database->authorizationStatus(EntityType::reminder), AuthorizationStatus::fullAccess);
}

TEST_F(EventContract, CalendarsComeInTheirOrderWithTheirTitles) {
    addCalendar("Calendars/b Zoë’s 📚");
    addCalendar("Calendars/a");
    addCalendar("Calendars/c");
    Titles found;
    for (const Calendar& one : database->calendars(EntityType::event)) {
        EXPECT_FALSE(one.identifier.empty());
        found.push_back(one.title);
    }
    EXPECT_EQ(found, (Titles{"a", "b Zoë’s 📚", "c"}));
}

TEST_F(EventContract, CalendarsHoldEventsAndListsReminders) {
    addCalendar("Calendars/Work");
    addCalendar("Reminders/Groceries");
    ASSERT_EQ(database->calendars(EntityType::event).size(), 1U);
    EXPECT_EQ(database->calendars(EntityType::event)[0].title, "Work");
}

TEST_F(EventContract, NewEventsGoToTheDefaultCalendar) {
    addCalendar("Calendars/Home");
    addCalendar("Calendars/Work");
    const auto target = database->defaultCalendarForNewEvents();
    ASSERT_TRUE(target);
    EXPECT_EQ(target->title, "Home");
    EXPECT_EQ(target->identifier, calendar(EntityType::event, "Home").identifier);
}

TEST_F(EventContract, WithoutCalendarsThereIsNoDefault) {
    addCalendar("Calendars");
    EXPECT_TRUE(database->calendars(EntityType::event).empty());
    EXPECT_FALSE(database->defaultCalendarForNewEvents());
}

TEST_F(EventContract, ANewUserHasACalendarThatTakesEvents) {
    EXPECT_EQ(database->authorizationStatus(EntityType::event), AuthorizationStatus::fullAccess);
    const auto target = database->defaultCalendarForNewEvents();
    ASSERT_TRUE(target);
    EXPECT_EQ(calendar(EntityType::event, target->title).identifier, target->identifier);
    EXPECT_EQ(titles("2026-10-14", "2026-10-15", &*target), Titles{});
    const std::string identifier = database->saveEvent(dentist(), *target);
    const Event found = onlyEvent("2026-10-14", "2026-10-15");
    EXPECT_EQ(found.identifier, identifier);
    EXPECT_EQ(found.calendar, target->title);
}

TEST_F(EventContract, EventsOfATimeAreThoseThatOverlapIt) {
    addEvent("Work", "before",
             "DTSTART:20261014T080000Z\r\nDTEND:20261014T090000Z\r\nSUMMARY:before\r\n");
    addEvent("Work", "into",
             "DTSTART:20261014T083000Z\r\nDTEND:20261014T093000Z\r\nSUMMARY:into\r\n");
    addEvent("Work", "within",
             "DTSTART:20261014T091500Z\r\nDTEND:20261014T093000Z\r\nSUMMARY:within\r\n");
    addEvent("Work", "around",
             "DTSTART:20261013T080000Z\r\nDTEND:20261016T080000Z\r\nSUMMARY:around\r\n");
    addEvent("Work", "after",
             "DTSTART:20261014T100000Z\r\nDTEND:20261014T110000Z\r\nSUMMARY:after\r\n");
    EXPECT_EQ(titles("2026-10-14T09:00:00Z", "2026-10-14T10:00:00Z"),
              (Titles{"around", "into", "within"}));
}

TEST_F(EventContract, EventsOfOneCalendarAreNotThoseOfAnother) {
    addEvent("Home", "fair", "DTSTART;VALUE=DATE:20261014\r\nSUMMARY:Fair\r\n");
    addEvent("Work", "plan", "DTSTART;VALUE=DATE:20261014\r\nSUMMARY:Plan\r\n");
    const Calendar work = calendar(EntityType::event, "Work");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15", &work), Titles{"Plan"});
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), (Titles{"Fair", "Plan"}));
}

TEST_F(EventContract, ACalendarThatWasRemovedMeanwhileHasNoEvents) {
    addEvent("Home", "fair", "DTSTART;VALUE=DATE:20261014\r\nSUMMARY:Fair\r\n");
    addCalendar("Calendars/Work");
    const Calendar work = calendar(EntityType::event, "Work");
    remove("Calendars/Work");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15", &work), Titles{});
}

TEST_F(EventContract, AnEventHasAllItsProperties) {
    addEvent(
        "Work", "full",
        "DTSTART;TZID=Europe/Berlin:20261014T150000\r\nDTEND;TZID=Europe/Berlin:20261014T161500\r\n"
        "SUMMARY:Zoë’s talk 👩‍🔬\r\nLOCATION:Room\\, 2nd "
        "floor\r\nDESCRIPTION:One\\nTwo\r\n");
    const Event found = onlyEvent("2026-10-14", "2026-10-15");
    EXPECT_EQ(found.identifier, "full");
    EXPECT_EQ(found.title, "Zoë’s talk 👩‍🔬");
    EXPECT_EQ(found.start, at("2026-10-14T13:00:00Z"));
    EXPECT_EQ(found.end, at("2026-10-14T14:15:00Z"));
    EXPECT_FALSE(found.allDay);
    EXPECT_EQ(found.calendar, "Work");
    EXPECT_EQ(found.location, "Room, 2nd floor");
    EXPECT_EQ(found.notes, "One\nTwo");
}

TEST_F(EventContract, MissingPropertiesAreAbsent) {
    addEvent("Work", "bare", "DTSTART:20261014T080000Z\r\nDTEND:20261014T090000Z\r\n");
    const Event found = onlyEvent("2026-10-14", "2026-10-15");
    EXPECT_EQ(found.title.value_or(""), "");
    EXPECT_EQ(found.location.value_or(""), "");
    EXPECT_EQ(found.notes.value_or(""), "");
}

TEST_F(EventContract, AnAllDayEventCoversDaysInTheUsersZone) {
    addEvent("Work", "fair",
             "DTSTART;VALUE=DATE:20261024\r\nDTEND;VALUE=DATE:20261026\r\nSUMMARY:Fair\r\n");
    const Event found = onlyEvent("2026-10-24", "2026-10-25");
    EXPECT_TRUE(found.allDay);
    EXPECT_EQ(found.start, at("2026-10-24T00:00:00+02:00"));
    EXPECT_EQ(daysOf(found), "2026-10-24..2026-10-25"); // the clock changed on the 25th
}

TEST_F(EventContract, TheOccurrencesOfASeriesShareItsIdentifier) {
    addEvent("Work", "weekly",
             "DTSTART:20261007T080000Z\r\nDTEND:20261007T090000Z\r\nRRULE:FREQ=WEEKLY\r\nSUMMARY:"
             "Plan\r\n");
    const auto found = database->events(at("2026-10-14"), at("2026-10-28"), nullptr);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].identifier, "weekly");
    EXPECT_EQ(found[1].identifier, "weekly");
    EXPECT_NE(found[0].start, found[1].start);
}

TEST_F(EventContract, ManyYearsAreSearchedToTheirEndAndEachEventIsFoundOnce) {
    for (const std::string year : {"2020", "2024", "2028", "2031", "2039"}) {
        addEvent("Work", year,
                 "DTSTART:" + year + "0701T080000Z\r\nDTEND:" + year +
                     "0701T090000Z\r\nSUMMARY:" + year + "\r\n");
    }
    addEvent("Work", "long",
             "DTSTART:20200101T000000Z\r\nDTEND:20391231T000000Z\r\nSUMMARY:long\r\n");
    EXPECT_EQ(titles("2020-01-01", "2040-01-01"),
              (Titles{"2020", "2024", "2028", "2031", "2039", "long"}));
    EXPECT_EQ(titles("2021-01-01", "2040-01-01"), (Titles{"2024", "2028", "2031", "2039", "long"}));
}

TEST_F(EventContract, ATimeWithoutEventsYieldsNone) {
    addCalendar("Calendars/Work");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{});
    EXPECT_EQ(titles("2026-10-15", "2026-10-14"), Titles{});
}

TEST_F(EventContract, ASavedEventIsFoundAsItWasGiven) {
    addCalendar("Calendars/Work");
    NewEvent event = dentist();
    event.location = "Room 5; left";
    event.notes = "Bring\nthe, card";
    const Event found = savedAndFound(event);
    EXPECT_EQ(found.title, "Dentist");
    EXPECT_EQ(found.start, event.start);
    EXPECT_EQ(found.end, event.end);
    EXPECT_FALSE(found.allDay);
    EXPECT_EQ(found.calendar, "Work");
    EXPECT_EQ(found.location, "Room 5; left");
    EXPECT_EQ(found.notes, "Bring\nthe, card");
}

TEST_F(EventContract, ASavedAllDayEventIsAnAllDayEvent) {
    addCalendar("Calendars/Work");
    const Event found =
        savedAndFound({"Holiday", at("2026-10-14"), at("2026-10-15"), true, {}, {}});
    EXPECT_TRUE(found.allDay);
    EXPECT_EQ(found.start, at("2026-10-14"));
    EXPECT_FALSE(found.location);
    EXPECT_FALSE(found.notes);
}

TEST_F(EventContract, ASavedAllDayEventCoversExactlyTheDaysAskedFor) {
    struct Case {
        const char* title;
        Instant start;
        Instant end;
        const char* days;
    };
    const std::chrono::hours day{24};
    const std::vector<Case> cases{
        {"one day", at("2026-10-14"), at("2026-10-15"), "2026-10-14..2026-10-14"},
        {"three days", at("2026-11-10"), at("2026-11-13"), "2026-11-10..2026-11-12"},
        {"23 hours", at("2026-03-29"), at("2026-03-29") + day, "2026-03-29..2026-03-29"},
        {"25 hours", at("2026-10-25"), at("2026-10-25") + day, "2026-10-25..2026-10-25"},
        {"a minute", at("2026-12-01T09:00"), at("2026-12-01T09:01"), "2026-12-01..2026-12-01"},
        {"afternoon", at("2026-12-10T15:00"), at("2026-12-11T15:00"), "2026-12-10..2026-12-10"},
        {"nearly two", at("2026-12-20"), at("2026-12-21T18:00"), "2026-12-20..2026-12-21"},
    };
    addCalendar("Calendars/Work");
    for (const Case& given : cases) {
        database->saveEvent({given.title, given.start, given.end, true, {}, {}},
                            calendar(EntityType::event, "Work"));
    }
    const auto all = database->events(at("2026-01-01"), at("2027-01-01"), nullptr);
    ASSERT_EQ(all.size(), cases.size());
    for (const Case& given : cases) {
        const auto found = std::ranges::find(all, given.title, &Event::title);
        ASSERT_NE(found, all.end()) << given.title;
        EXPECT_TRUE(found->allDay) << given.title;
        EXPECT_EQ(daysOf(*found), given.days) << given.title;
    }
    EXPECT_EQ(titles("2026-10-15", "2026-10-16"), Titles{});
    EXPECT_EQ(titles("2026-10-13", "2026-10-14"), Titles{});
    EXPECT_EQ(titles("2026-11-12", "2026-11-13"), Titles{"three days"});
    EXPECT_EQ(titles("2026-11-13", "2026-11-14"), Titles{});
}

TEST_F(EventContract, ASavedTextKeepsEveryCharacter) {
    addCalendar("Calendars/Work");
    NewEvent event = dentist();
    event.title =
        "Ünïcödé e\u0301 👩‍👩‍👧‍👦 한국 עברית \u200B\U0010FFFD \\n \\, "
        ";";
    EXPECT_EQ(savedAndFound(event).title, event.title);
}

TEST_F(EventContract, ASavedTextMayBeginWithAByteOrderMark) {
    SKIP_UNLESS_ABLE(Ability::textFromByteOrderMark);
    addCalendar("Calendars/Work");
    NewEvent event = dentist();
    event.title = "\uFEFFDentist";
    EXPECT_EQ(savedAndFound(event).title, event.title);
}

TEST_F(EventContract, WhatCannotBeStoredAsGivenIsAnErrorAndNothingIsStored) {
    addCalendar("Calendars/Work");
    NewEvent event = dentist();
    event.title = std::string{"Den\0tist", 8};
    EXPECT_NE(failureOfSaving(event, calendar(EntityType::event, "Work")), "");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{});
}

TEST_F(EventContract, SavingToACalendarThatWasRemovedMeanwhileIsAnErrorThatNamesIt) {
    addCalendar("Calendars/Home");
    addCalendar("Calendars/Work");
    const Calendar work = calendar(EntityType::event, "Work");
    remove("Calendars/Work");
    EXPECT_NE(failureOfSaving(dentist(), work).find("Work"), std::string::npos);
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{});
}

TEST_F(EventContract, ChangesOfOthersAreSeenInTheNextCall) {
    addCalendar("Calendars/Work");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{});
    addEvent("Work", "new",
             "DTSTART:20261014T080000Z\r\nDTEND:20261014T090000Z\r\nSUMMARY:new\r\n");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{"new"});
    remove("Calendars/Work/new.ics");
    EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{});
}

TEST_F(EventContract, CallsMayComeFromOneThreadAfterAnother) {
    addCalendar("Calendars/Work");
    std::string identifier;
    std::thread{[&] {
        identifier = database->saveEvent(dentist(), calendar(EntityType::event, "Work"));
    }}.join();
    std::thread{[&] { EXPECT_EQ(titles("2026-10-14", "2026-10-15"), Titles{"Dentist"}); }}.join();
    EXPECT_EQ(onlyEvent("2026-10-14", "2026-10-15").identifier, identifier);
}
