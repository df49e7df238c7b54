// A whole session on sample data, as an agent would have it: the real server and the real approval
// host, over real pipes and a real socket. It prints what they say. Every reply is checked; the
// exit status is 1 if the session did not go as it should.

#include "demo/Failure.hpp"
#include "demo/Scenes.hpp"
#include "demo/WhatNext.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace {

using namespace velmiro::demo;
using Speaker = Transcript::Speaker;

struct Options {
    bool interactive = false;
    bool all = false;
    std::chrono::sys_days today;
};

constexpr const char* usage =
    "usage: demo [--interactive] [--all] [--today YYYY-MM-DD]\n"
    "\n"
    "Plays a session on sample data in a temporary home.\n"
    "\n"
    "  --interactive       you answer the first question\n"
    "  --all               every tool, in ten screens rather than two\n"
    "  --today YYYY-MM-DD  the day around which the sample data is dated\n";

/// Reads a date such as 2026-10-14.
std::optional<std::chrono::sys_days> dayFrom(const std::string& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int length = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2u%n", &year, &month, &day, &length) != 3 ||
        static_cast<std::size_t>(length) != text.size()) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{month},
                                           std::chrono::day{day}};
    return date.ok() ? std::optional{std::chrono::sys_days{date}} : std::nullopt;
}

/// Reads the arguments after the program's name; nullopt if one is wrong.
std::optional<Options> parse(std::span<char* const> arguments) {
    Options options{.today = localToday()};
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string_view argument = arguments[at];
        if (argument == "--interactive") {
            options.interactive = true;
        } else if (argument == "--all") {
            options.all = true;
        } else if (argument == "--today" && at + 1 < arguments.size()) {
            const auto day = dayFrom(arguments[++at]);
            if (!day) {
                return std::nullopt;
            }
            options.today = *day;
        } else {
            return std::nullopt;
        }
    }
    return options;
}

void introduce(Stage& stage) {
    const std::string played = stage.isUsersTurn() ? "is played, and you answer the first question."
                                                   : "and the user are played.";
    stage.transcript().heading("A session with velmiro_mcp");
    stage.transcript().note(
        "The server and the approval host are real, home and data are samples. The agent " +
        played + " Lists are JSON, shortened here.");
}

/// Opens the session, and returns how the server introduces itself.
JSONValue initialize(Stage& stage) {
    JSONValue welcome = stage.request(
        "initialize",
        JSONValue::object(
            {{"protocolVersion", "2025-06-18"},
             {"capabilities", JSONValue::object()},
             {"clientInfo", JSONValue::object({{"name", "demo"}, {"version", "1.0"}})}}));
    require(text(member(welcome, "protocolVersion")) == "2025-06-18", "another protocol");
    stage.notify("notifications/initialized");
    return welcome;
}

void meet(Stage& stage) {
    stage.transcript().heading("The agent and the server meet");
    stage.transcript().say(Speaker::agent, "initialize (protocol 2025-06-18)");
    const JSONValue welcome = initialize(stage);
    const JSONValue& identity = member(welcome, "serverInfo");
    stage.transcript().say(Speaker::server, text(member(identity, "name")) + ' ' +
                                                text(member(identity, "version")) + ": “" +
                                                text(member(welcome, "instructions")) + "”");
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

void playAll(Stage& stage) {
    meet(stage);
    for (const auto scene : {calendarScene, remindersScene, contactsScene, notesScene, mailScene}) {
        scene(stage);
    }
    stage.transcript().heading("The agent closes the server’s standard input");
    require(stage.end() == 0, "the server should have ended with status 0");
    stage.transcript().note("The server has ended with status 0. The temporary home is removed.");
}

void playInBrief(Stage& stage) {
    initialize(stage);
    overviewScene(stage);
    require(stage.end() == 0, "the server should have ended with status 0");
}

} // namespace

int main(int count, char** values) {
    // The demo computes dates in the time zone of its server.
    ::setenv("TZ", "Europe/Berlin", 1);
    const std::span arguments{values, static_cast<std::size_t>(count)};
    const auto options = parse(arguments.subspan(1));
    if (!options) {
        std::cerr << usage;
        return 2;
    }
    endWaitsOnSignals();
    try {
        const auto binaries = std::filesystem::read_symlink("/proc/self/exe").parent_path();
        Stage stage{binaries.string(), SAMPLES_FOLDER, options->today, options->interactive};
        introduce(stage);
        if (options->all) {
            playAll(stage);
        } else {
            playInBrief(stage);
        }
        tellWhatNext(stage.transcript(), binaries, !options->all);
        return 0;
    } catch (const std::exception& error) {
        std::cout << std::flush;
        std::cerr << "\ndemo: the session did not go as it should: " << error.what() << '\n';
        return 1;
    }
}
