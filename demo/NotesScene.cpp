#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"
#include "demo/Scenes.hpp"

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

namespace {

std::size_t search(Stage& stage, const char* query) {
    const JSONValue payload =
        stage.call("notes_search", JSONValue::object({{"query", query}})).payload();
    const JSONValue& notes = member(payload, "notes");
    stage.transcript().say(Speaker::server, noteList(notes));
    return elements(notes).size();
}

} // namespace

void notesScene(Stage& stage) {
    stage.transcript().heading("Notes: the scripts that drive Notes on a Mac run over plain files");
    require(search(stage, "lisbon") == 1, "one note should have been found");

    stage.transcript().heading("The agent writes a note; the user says yes");
    const auto before = stage.home().files();
    const auto created = stage.callWithQuestion(
        "notes_create",
        JSONValue::object({{"title", "Packing for Lisbon"},
                           {"body", "sun hat\n\nfor the train: <a book> & \"quotes\""},
                           {"folder", "Home"}}),
        "Packing for Lisbon", true);
    require(created.has_value(), "the answer was yes");
    const auto changed = changedFiles(before, stage.home().files());
    require(changed.size() == 1, "there should be one new file");
    stage.transcript().note("One file is new, " + changed.begin()->first + ":");
    stage.transcript().note(indented(changed.begin()->second));

    stage.transcript().heading("A folder that does not exist");
    stage.transcript().note("What the script reports is what the agent reads.");
    const auto refused = stage.callWithQuestionThatFails(
        "notes_create", JSONValue::object({{"title", "x"}, {"body", "y"}, {"folder", "Garden"}}),
        "x");
    require(refused.find("no Notes folder named Garden") != std::string::npos,
            "the folder should be unknown");
}

} // namespace velmiro::demo
