#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"
#include "demo/Scenes.hpp"

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

namespace {

/// Calls a tool and returns the list in its result.
JSONValue list(Stage& stage, const char* tool,
               std::initializer_list<JSONValue::NewMember> arguments, const char* name,
               std::size_t count) {
    const JSONValue payload = stage.call(tool, JSONValue::object(arguments)).payload();
    const JSONValue& found = member(payload, name);
    require(elements(found).size() == count, std::string{tool} + " should have found others");
    return found;
}

void addEvent(Stage& stage) {
    stage.transcript().heading("It adds an event. Before anything is changed, the user is asked");
    const auto before = stage.home().files();
    const auto created =
        stage.callWithQuestion("calendar_create_event",
                               JSONValue::object({{"title", "Tea with Ada"},
                                                  {"start", stage.home().day(2) + "T16:00"},
                                                  {"duration_minutes", 45},
                                                  {"location", "Café Engine"}}),
                               "Tea with Ada", true);
    if (created) {
        require(changedFiles(before, stage.home().files()).size() == 1,
                "there should be one new file");
        stage.transcript().note("One file is new, in Calendars/family. Other programs see it too.");
    }
}

} // namespace

void overviewScene(Stage& stage) {
    Transcript& transcript = stage.transcript();
    transcript.heading("The agent looks at the next three days");
    transcript.say(Speaker::server,
                   agenda(list(stage, "calendar_list_events",
                               {{"start", stage.home().day(0)}, {"days", 3}}, "events", 3),
                          Detail::brief));

    addEvent(stage);

    transcript.heading("Without a yes, nothing is changed");
    const std::string due = stage.home().day(5) + "T09:00";
    require(!stage.callWithQuestion("reminders_create",
                                    JSONValue::object({{"title", "Skydiving"}, {"due", due}}),
                                    "Skydiving", false),
            "the answer was no");

    transcript.heading("People, notes and mail");
    transcript.say(
        Speaker::server,
        people(list(stage, "contacts_search", {{"query", "zoe"}}, "contacts", 1), Detail::brief));
    transcript.say(Speaker::server,
                   noteList(list(stage, "notes_search", {{"query", "green door"}}, "notes", 1),
                            Detail::brief));
    transcript.say(
        Speaker::server,
        inbox(list(stage, "mail_list", {{"days", 7}, {"unread_only", true}}, "messages", 1)));
}

} // namespace velmiro::demo
