#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"
#include "demo/Scenes.hpp"

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

namespace {

std::size_t listEvents(Stage& stage, std::initializer_list<JSONValue::NewMember> arguments) {
    const JSONValue payload =
        stage.call("calendar_list_events", JSONValue::object(arguments)).payload();
    const JSONValue& events = member(payload, "events");
    stage.transcript().say(Speaker::server, agenda(events));
    return elements(events).size();
}

void list(Stage& stage) {
    stage.transcript().heading("Calendar: what is on in the coming week?");
    const std::string today = stage.home().day(0);
    const std::size_t count = listEvents(stage, {{"start", today}, {"days", 7}});
    require(count == 3, "three events should have been listed");

    stage.transcript().heading(
        "And at work? One of the weekly meetings is moved, one is cancelled");
    const std::size_t atWork =
        listEvents(stage, {{"start", today}, {"days", 28}, {"calendar", "work"}});
    require(atWork == 3, "three meetings should have been listed");
}

void create(Stage& stage) {
    stage.transcript().heading("The agent adds an event; the user " +
                               std::string{stage.isUsersTurn() ? "answers" : "says yes"});
    const auto before = stage.home().files();
    const auto day = stage.home().day(3);
    const auto arguments =
        JSONValue::object({{"title", "Tea with Ada 🫖"},
                           {"start", day + "T16:00"},
                           {"duration_minutes", 45},
                           {"location", "Café Engine"},
                           {"notes", "She wants to show her new engine,\nbring time"}});
    if (stage.callWithQuestion("calendar_create_event", arguments, "Tea with Ada", true)) {
        const auto changed = changedFiles(before, stage.home().files());
        require(changed.size() == 1, "there should be one new file");
        stage.transcript().note("One file is new, " + changed.begin()->first +
                                ", with this event:");
        stage.transcript().note(componentOf(changed.begin()->second, "VEVENT"));
        const std::size_t count = listEvents(stage, {{"start", day}});
        require(count == 1, "the new event should have been listed");
    }
}

void refuse(Stage& stage) {
    stage.transcript().heading("The agent wants another one; the user says no");
    const auto arguments = JSONValue::object(
        {{"title", "Skydiving 🪂"}, {"start", stage.home().day(5)}, {"all_day", true}});
    require(!stage.callWithQuestion("calendar_create_event", arguments, "Skydiving", false),
            "the answer was no");
}

void stumble(Stage& stage) {
    stage.transcript().heading("The agent makes mistakes, and is told what is wrong");
    stage.fail("calendar_list_events", JSONValue::object({{"days", 99}}),
               "‘days’ must be a whole number from 1 to 62");
    stage.fail("calendar_list_events", JSONValue::object({{"calendar", "Holidays"}}),
               "no calendar named ‘Holidays’. Known: Family 🏡, Work");
}

} // namespace

void calendarScene(Stage& stage) {
    list(stage);
    create(stage);
    refuse(stage);
    stumble(stage);
}

} // namespace velmiro::demo
