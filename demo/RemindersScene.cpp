#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"
#include "demo/Scenes.hpp"

#include <algorithm>

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

namespace {

JSONValue listReminders(Stage& stage, std::initializer_list<JSONValue::NewMember> arguments) {
    const JSONValue payload = stage.call("reminders_list", JSONValue::object(arguments)).payload();
    const JSONValue& reminders = member(payload, "reminders");
    stage.transcript().say(Speaker::server, checklist(reminders));
    return reminders;
}

std::string idOf(const JSONValue& reminders, const std::string& title) {
    const auto all = elements(reminders);
    const auto found = std::ranges::find_if(
        all, [&](const JSONValue& reminder) { return text(member(reminder, "title")) == title; });
    require(found != all.end(), "there should be a reminder " + title);
    return text(member(*found, "id"));
}

} // namespace

void remindersScene(Stage& stage) {
    stage.transcript().heading("Reminders: what is still to do?");
    const JSONValue open = listReminders(stage, {});
    require(elements(open).size() == 3, "three reminders should be open");

    stage.transcript().heading("The agent adds one for tomorrow; the user says yes");
    const auto created =
        stage.callWithQuestion("reminders_create",
                               JSONValue::object({{"title", "Buy a birthday card"},
                                                  {"due", stage.home().day(1) + "T18:00"},
                                                  {"list", "home"},
                                                  {"priority", 1}}),
                               "Buy a birthday card", true);
    require(created.has_value(), "the answer was yes");

    stage.transcript().heading("The plants are watered: a reminder that repeats every week");
    const auto before = stage.home().files();
    const auto done = stage.callWithQuestion(
        "reminders_complete", JSONValue::object({{"id", idOf(open, "Water the plants 🪴")}}),
        "Water the plants", true);
    require(done.has_value(), "the answer was yes");
    const auto changed = changedFiles(before, stage.home().files());
    require(changed.size() == 2, "one file should have changed, and one be new");
    stage.transcript().note(
        "It is done, and next week’s is a reminder of its own. In the file only "
        "the lines concerned have changed:");
    stage.transcript().note(componentOf(changed.at("Reminders/home/plants.ics"), "VTODO"));

    stage.transcript().heading("What is left before next week?");
    const JSONValue left = listReminders(stage, {{"due_before", stage.home().day(7)}});
    require(elements(left).size() == 2, "two reminders should be left");

    stage.transcript().heading("An id that does not exist is no question to the user");
    stage.fail("reminders_complete", JSONValue::object({{"id", "../../etc/passwd"}}),
               "no reminder with id ../../etc/passwd");
}

} // namespace velmiro::demo
