// A whole session as an agent would have it, on sample data: the real server and the real approval
// host, over real pipes and a real socket. What is printed is what they said. Every reply is
// checked; the exit status is 1 when the session did not go as it should.

#include "MCPStdio/JSONValue.hpp"
#include "demo/Child.hpp"
#include "demo/Failure.hpp"
#include "demo/SampleHome.hpp"
#include "demo/Transcript.hpp"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <span>
#include <sstream>

namespace {

using namespace velmiro::demo;
using MCPStdio::JSONValue;
using Speaker = Transcript::Speaker;

const JSONValue& member(const JSONValue& value, const char* name) {
    const JSONValue* found = value[name];
    require(found != nullptr, std::string{"a reply has no "} + name);
    return *found;
}

std::string text(const JSONValue& value) {
    const auto found = value.stringValue();
    if (!found) {
        throw Failure{"a reply has no text where one should be"};
    }
    return std::string{*found};
}

std::span<const JSONValue> elements(const JSONValue& value) {
    const auto found = value.arrayValue();
    if (!found) {
        throw Failure{"a reply has no list where one should be"};
    }
    return *found;
}

std::string trimmed(const std::string& shown) {
    const auto first = shown.find_first_not_of('\n');
    return first == std::string::npos
               ? std::string{}
               : shown.substr(first, shown.find_last_not_of("\n ") - first + 1);
}

/// What a tool answered.
struct Reply {
    std::string text;
    bool isError = false;

    [[nodiscard]] JSONValue payload() const {
        require(!isError, "a call failed: " + text);
        return JSONValue::parse(text);
    }
};

class Session {
public:
    Session(const std::string& binaries, bool interactive)
        : usersTurns_{interactive ? 1 : 0},
          host_{binaries + "/approval_host", home_.environment()},
          server_{binaries + "/velmiro_mcp", home_.environment()} {
        const std::string ready = host_.readLine();
        require(ready.starts_with("listening at "), "the approval host said: " + ready);
    }

    void run() {
        introduce();
        meet();
        list();
        create();
        refuse();
        stumble();
        end();
    }

private:
    void introduce() {
        transcript_.heading("A session with velmiro_mcp");
        transcript_.note(
            "The server is the real one, in a temporary home with two calendars. The agent is "
            "played\n"
            "by this program. Before anything changes, the approval host asks the user: " +
            std::string{usersTurns_ > 0 ? "that is you." : "played as well."});
    }

    void meet() {
        transcript_.heading("The agent and the server meet");
        transcript_.say(Speaker::agent, "initialize (protocol 2025-06-18)");
        const JSONValue welcome = request(
            "initialize",
            JSONValue::object(
                {{"protocolVersion", "2025-06-18"},
                 {"capabilities", JSONValue::object()},
                 {"clientInfo", JSONValue::object({{"name", "demo"}, {"version", "1.0"}})}}));
        require(text(member(welcome, "protocolVersion")) == "2025-06-18", "another protocol");
        const JSONValue& identity = member(welcome, "serverInfo");
        transcript_.say(Speaker::server, text(member(identity, "name")) + ' ' +
                                             text(member(identity, "version")) + ": “" +
                                             text(member(welcome, "instructions")) + "”");
        server_.write(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
                      "\n");
        transcript_.say(Speaker::agent, "tools/list");
        const JSONValue listed = request("tools/list", JSONValue::object());
        const auto tools = elements(member(listed, "tools"));
        require(!tools.empty(), "the server offers no tool");
        std::string shown;
        for (const JSONValue& tool : tools) {
            const bool reads =
                member(member(tool, "annotations"), "readOnlyHint").boolValue().value_or(false);
            shown += (shown.empty() ? "" : "\n") + text(member(tool, "name")) +
                     (reads ? " (reads)\n    " : " (changes)\n    ") +
                     text(member(tool, "description"));
        }
        transcript_.say(Speaker::server, shown);
    }

    void list() {
        transcript_.heading("What is on in the coming week?");
        const std::string today = isoDay(dayFromToday(0));
        const std::size_t count = listEvents({{"start", today}, {"days", 7}});
        require(count == 3, "three events should have been listed");

        transcript_.heading("And at work? One of the weekly meetings is moved, one is cancelled");
        const std::size_t atWork =
            listEvents({{"start", today}, {"days", 28}, {"calendar", "work"}});
        require(atWork == 3, "three meetings should have been listed");
    }

    void create() {
        transcript_.heading("The agent adds an event; the user says " +
                            std::string{usersTurns_ > 0 ? "…" : "yes"});
        const auto before = home_.calendarFiles();
        const auto day = dayFromToday(3);
        const auto arguments =
            JSONValue::object({{"title", "Tea with Ada 🫖"},
                               {"start", isoDay(day) + "T16:00"},
                               {"duration_minutes", 45},
                               {"location", "Café Engine"},
                               {"notes", "She wants to show her new engine,\nbring time"}});
        const bool allowed = callWithQuestion(arguments, true);
        const auto after = home_.calendarFiles();
        if (!allowed) {
            require(before == after, "something changed although the user said no");
            transcript_.note("Nothing has changed.");
            return;
        }
        require(after.size() == before.size() + 1, "there should be one new file");
        for (const auto& [name, content] : after) {
            if (!before.contains(name)) {
                transcript_.note("One file is new, Calendars/" + name + ", with this event:");
                showEvent(content);
            }
        }
        const std::size_t count = listEvents({{"start", isoDay(day)}});
        require(count == 1, "the new event should have been listed");
    }

    void refuse() {
        transcript_.heading("The agent wants another one; the user says no");
        const auto before = home_.calendarFiles();
        const auto arguments = JSONValue::object(
            {{"title", "Skydiving 🪂"}, {"start", isoDay(dayFromToday(5))}, {"all_day", true}});
        require(!callWithQuestion(arguments, false), "the answer was no");
        require(before == home_.calendarFiles(), "something changed although the user said no");
        transcript_.note("Nothing has changed: every file is as it was, byte for byte.");
    }

    void stumble() {
        transcript_.heading("The agent makes mistakes, and is told what is wrong");
        fail({{"days", 99}}, "‘days’ must be a whole number from 1 to 62");
        fail({{"calendar", "Holidays"}}, "no calendar named ‘Holidays’. Known: Family 🏡, Work");
    }

    void end() {
        transcript_.heading("The agent closes the server’s standard input");
        server_.closeInput();
        const int status = server_.wait();
        require(status == 0, "the server should have ended with status 0");
        transcript_.note("The server has ended with status 0. The temporary home is removed.");
    }

    JSONValue request(const char* method, JSONValue parameters) {
        send(method, std::move(parameters));
        return receive();
    }

    void send(const char* method, JSONValue parameters) {
        const auto message = JSONValue::object({{"jsonrpc", "2.0"},
                                                {"id", ++requests_},
                                                {"method", method},
                                                {"params", std::move(parameters)}});
        server_.write(message.jsonString() + '\n');
    }

    JSONValue receive() {
        const auto reply = JSONValue::parse(server_.readLine());
        require(member(reply, "id") == JSONValue{requests_}, "a reply has another request’s id");
        return member(reply, "result");
    }

    void sendCall(const char* tool, const JSONValue& arguments) {
        transcript_.say(Speaker::agent, std::string{tool} + ' ' + arguments.jsonString());
        send("tools/call", JSONValue::object({{"name", tool}, {"arguments", arguments}}));
    }

    Reply receiveCall() {
        const JSONValue result = receive();
        const auto content = elements(member(result, "content"));
        require(content.size() == 1, "a result should have one text");
        return {text(member(content.front(), "text")),
                member(result, "isError").boolValue().value_or(true)};
    }

    std::size_t listEvents(std::initializer_list<JSONValue::NewMember> arguments) {
        sendCall("calendar_list_events", JSONValue::object(arguments));
        const JSONValue payload = receiveCall().payload();
        const JSONValue& events = member(payload, "events");
        transcript_.say(Speaker::server, agenda(events));
        return elements(events).size();
    }

    void fail(std::initializer_list<JSONValue::NewMember> arguments, const std::string& expected) {
        sendCall("calendar_list_events", JSONValue::object(arguments));
        const Reply reply = receiveCall();
        transcript_.say(Speaker::server, "error: " + reply.text);
        require(reply.isError && reply.text == expected, "the error should be: " + expected);
    }

    /// Creates an event; gives the user's answer, which is `played` when it is not the user's turn.
    bool callWithQuestion(const JSONValue& arguments, bool played) {
        sendCall("calendar_create_event", arguments);
        const std::string question = host_.readUpTo({"[y/n] "});
        require(question.find(text(member(arguments, "title"))) != std::string::npos,
                "the question should name the event");
        const bool allowed = answer(question, played);
        const Reply reply = receiveCall();
        transcript_.say(Speaker::server, (reply.isError ? "error: " : "") + reply.text);
        if (allowed) {
            require(member(reply.payload(), "created") == JSONValue{true}, "nothing was created");
        } else {
            require(reply.isError && reply.text.starts_with("The user did not allow this ("),
                    "a no should be reported");
        }
        return allowed;
    }

    /// Answers the host's question, in the user's words when it is the user's turn.
    bool answer(std::string question, bool played) {
        const bool isUsersTurn = usersTurns_ > 0;
        usersTurns_ -= isUsersTurn ? 1 : 0;
        for (;;) {
            if (isUsersTurn) {
                transcript_.ask(Speaker::host, trimmed(question) + ' ');
                const std::string typed = host_.readTypedLine();
                if (typed.empty() || ::isatty(STDIN_FILENO) == 0) {
                    std::cout << '\n'; // nobody has seen the end of the line
                }
                host_.write(typed.empty() ? "n\n" : typed);
            } else {
                transcript_.say(Speaker::host, trimmed(question));
                transcript_.say(Speaker::user, played ? "y" : "n");
                host_.write(played ? "y\n" : "n\n");
            }
            question = host_.readUpTo({"Allowed.\n", "Refused.\n", "gone.\n", "[y/n] "});
            if (!question.ends_with("[y/n] ")) {
                transcript_.say(Speaker::host, trimmed(question));
                return question.ends_with("Allowed.\n");
            }
        }
    }

    void showEvent(const std::string& file) {
        std::istringstream lines{file};
        bool isInside = false;
        for (std::string line; std::getline(lines, line);) {
            if (line.ends_with('\r')) {
                line.pop_back();
            }
            isInside = isInside || line == "BEGIN:VEVENT";
            if (isInside) {
                transcript_.note("    " + line);
            }
            isInside = isInside && line != "END:VEVENT";
        }
    }

    Transcript transcript_;
    SampleHome home_;
    int usersTurns_; ///< how many questions the user still answers
    int requests_ = 0;
    Child host_;
    Child server_;
};

} // namespace

int main(int count, char** values) {
    const std::span arguments{values, static_cast<std::size_t>(count)};
    const bool interactive = count == 2 && std::string_view{arguments[1]} == "--interactive";
    if (count != 1 && !interactive) {
        std::cerr << "usage: demo [--interactive]\n";
        return 2;
    }
    // The demo reckons in the zone that its server lives in.
    ::setenv("TZ", "Europe/Berlin", 1);
    endWaitsOnSignals();
    try {
        Session{std::filesystem::path{arguments[0]}.parent_path().string(), interactive}.run();
        return 0;
    } catch (const std::exception& error) {
        std::cout << std::flush;
        std::cerr << "\ndemo: the session did not go as it should: " << error.what() << '\n';
        return 1;
    }
}
