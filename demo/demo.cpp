// A whole session on sample data, as an agent would have it: the real server and the real approval
// host, over real pipes and a real socket. It prints what they say. Every reply is checked; the
// exit status is 1 if the session did not go as it should.

#include "demo/Failure.hpp"
#include "demo/Scenes.hpp"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <span>
#include <string_view>

namespace {

using namespace velmiro::demo;
using Speaker = Transcript::Speaker;

void introduce(Stage& stage) {
    stage.transcript().heading("A session with velmiro_mcp");
    stage.transcript().note(
        "The server is the real one, in a temporary home with sample data. The agent is played by\n"
        "this program. Before anything changes, the approval host asks the user: " +
        std::string{stage.isUsersTurn() ? "that is you." : "played as well."});
}

void meet(Stage& stage) {
    stage.transcript().heading("The agent and the server meet");
    stage.transcript().say(Speaker::agent, "initialize (protocol 2025-06-18)");
    const JSONValue welcome = stage.request(
        "initialize",
        JSONValue::object(
            {{"protocolVersion", "2025-06-18"},
             {"capabilities", JSONValue::object()},
             {"clientInfo", JSONValue::object({{"name", "demo"}, {"version", "1.0"}})}}));
    require(text(member(welcome, "protocolVersion")) == "2025-06-18", "another protocol");
    const JSONValue& identity = member(welcome, "serverInfo");
    stage.transcript().say(Speaker::server, text(member(identity, "name")) + ' ' +
                                                text(member(identity, "version")) + ": “" +
                                                text(member(welcome, "instructions")) + "”");
    stage.notify("notifications/initialized");
    stage.transcript().say(Speaker::agent, "tools/list");
    const JSONValue listed = stage.request("tools/list", JSONValue::object());
    std::string shown;
    for (const JSONValue& tool : elements(member(listed, "tools"))) {
        const bool reads =
            member(member(tool, "annotations"), "readOnlyHint").boolValue().value_or(false);
        shown += (shown.empty() ? "" : "\n") + text(member(tool, "name")) +
                 (reads ? " (reads)\n    " : " (changes)\n    ") +
                 text(member(tool, "description"));
    }
    require(!shown.empty(), "the server offers no tool");
    stage.transcript().say(Speaker::server, shown);
}

void end(Stage& stage) {
    stage.transcript().heading("The agent closes the server’s standard input");
    require(stage.end() == 0, "the server should have ended with status 0");
    stage.transcript().note("The server has ended with status 0. The temporary home is removed.");
}

} // namespace

int main(int count, char** values) {
    const std::span arguments{values, static_cast<std::size_t>(count)};
    const bool interactive = count == 2 && std::string_view{arguments[1]} == "--interactive";
    if (count != 1 && !interactive) {
        std::cerr << "usage: demo [--interactive]\n";
        return 2;
    }
    // The demo computes dates in the time zone of its server.
    ::setenv("TZ", "Europe/Berlin", 1);
    endWaitsOnSignals();
    try {
        Stage stage{std::filesystem::path{arguments[0]}.parent_path().string(), SAMPLES_FOLDER,
                    interactive};
        introduce(stage);
        meet(stage);
        for (const auto scene :
             {calendarScene, remindersScene, contactsScene, notesScene, mailScene}) {
            scene(stage);
        }
        end(stage);
        return 0;
    } catch (const std::exception& error) {
        std::cout << std::flush;
        std::cerr << "\ndemo: the session did not go as it should: " << error.what() << '\n';
        return 1;
    }
}
