#include "demo/Stage.hpp"

#include "demo/Failure.hpp"
#include "demo/ResultTexts.hpp"

#include <unistd.h>

#include <iostream>
#include <optional>

namespace velmiro::demo {

using Speaker = Transcript::Speaker;

namespace {

std::string trimmed(const std::string& shown) {
    const auto first = shown.find_first_not_of('\n');
    return first == std::string::npos
               ? std::string{}
               : shown.substr(first, shown.find_last_not_of("\n ") - first + 1);
}

} // namespace

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

JSONValue Reply::payload() const {
    require(!isError, "a call failed: " + text);
    return JSONValue::parse(text);
}

Stage::Stage(const std::string& binaries, const std::string& samples, std::chrono::sys_days today,
             bool interactive)
    : home_{samples, today},
      usersTurns_{interactive ? 1 : 0},
      host_{binaries + "/approval_host", home_.environment()},
      server_{binaries + "/velmiro_mcp", home_.environment()} {
    const std::string ready = host_.readLine();
    require(ready.starts_with("listening at "), "the approval host said: " + ready);
}

JSONValue Stage::request(const char* method, JSONValue parameters) {
    send(method, std::move(parameters));
    return receive();
}

void Stage::notify(const char* method) const {
    server_.write(JSONValue::object({{"jsonrpc", "2.0"}, {"method", method}}).jsonString() + '\n');
}

void Stage::send(const char* method, JSONValue parameters) {
    const auto message = JSONValue::object({{"jsonrpc", "2.0"},
                                            {"id", ++requests_},
                                            {"method", method},
                                            {"params", std::move(parameters)}});
    server_.write(message.jsonString() + '\n');
}

JSONValue Stage::receive() {
    const auto reply = JSONValue::parse(server_.readLine());
    require(member(reply, "id") == JSONValue{requests_}, "a reply has another request’s id");
    return member(reply, "result");
}

Reply Stage::receiveCall() {
    const JSONValue result = receive();
    const auto content = elements(member(result, "content"));
    require(content.size() == 1, "a result should have one text");
    return {text(member(content.front(), "text")),
            member(result, "isError").boolValue().value_or(true)};
}

void Stage::sendCall(const char* tool, const JSONValue& arguments) {
    transcript_.say(Speaker::agent, std::string{tool} + ' ' + arguments.jsonString());
    send("tools/call", JSONValue::object({{"name", tool}, {"arguments", arguments}}));
}

Reply Stage::call(const char* tool, const JSONValue& arguments) {
    sendCall(tool, arguments);
    return receiveCall();
}

void Stage::fail(const char* tool, const JSONValue& arguments, const std::string& expected) {
    const Reply reply = call(tool, arguments);
    transcript_.say(Speaker::server, "error: " + reply.text);
    require(reply.isError && reply.text == expected, "the error should be: " + expected);
}

std::optional<JSONValue> Stage::callWithQuestion(const char* tool, const JSONValue& arguments,
                                                 const std::string& about, bool played) {
    const auto before = home_.files();
    const bool allowed = ask(tool, arguments, about, played);
    const Reply reply = receiveCall();
    transcript_.say(Speaker::server,
                    reply.isError ? "error: " + reply.text : withoutId(reply.payload()));
    if (allowed) {
        return reply.payload();
    }
    require(reply.isError && reply.text.starts_with("The user did not allow this ("),
            "a no should be reported");
    require(before == home_.files(), "something changed although the user said no");
    transcript_.note("Nothing has changed: every file is as it was, byte for byte.");
    return std::nullopt;
}

std::string Stage::callWithQuestionThatFails(const char* tool, const JSONValue& arguments,
                                             const std::string& about) {
    require(ask(tool, arguments, about, true), "the answer was yes");
    const Reply reply = receiveCall();
    transcript_.say(Speaker::server, "error: " + reply.text);
    require(reply.isError, "the call should fail");
    return reply.text;
}

/// Calls a tool, and answers its question.
bool Stage::ask(const char* tool, const JSONValue& arguments, const std::string& about,
                bool played) {
    sendCall(tool, arguments);
    const std::string question = host_.readThrough({"[y/n] "});
    require(question.find(about) != std::string::npos, "the question should say: " + about);
    return answer(question, played);
}

/// Answers the host's question, with the user's own input if it is the user's turn.
bool Stage::answer(std::string question, bool played) {
    const bool isUsersTurn = usersTurns_ > 0;
    usersTurns_ -= isUsersTurn ? 1 : 0;
    for (;;) {
        if (isUsersTurn) {
            transcript_.ask(Speaker::host, trimmed(question) + ' ');
            const std::string typed = host_.readTypedLine();
            if (typed.empty() || ::isatty(STDIN_FILENO) == 0) {
                std::cout << '\n'; // the end of the line was not echoed
            }
            host_.write(typed.empty() ? "n\n" : typed);
        } else {
            transcript_.ask(Speaker::host, trimmed(question) + ' ');
            transcript_.answer(played ? "y" : "n");
            host_.write(played ? "y\n" : "n\n");
        }
        question = host_.readThrough({"Allowed.\n", "Refused.\n", "gone.\n", "[y/n] "});
        if (!question.ends_with("[y/n] ")) {
            transcript_.say(Speaker::host, trimmed(question));
            return question.ends_with("Allowed.\n");
        }
    }
}

int Stage::end() {
    server_.closeInput();
    return server_.wait();
}

std::map<std::string, std::string> changedFiles(const std::map<std::string, std::string>& before,
                                                const std::map<std::string, std::string>& after) {
    std::map<std::string, std::string> changed;
    for (const auto& [name, content] : after) {
        const auto old = before.find(name);
        if (old == before.end() || old->second != content) {
            changed.emplace(name, content);
        }
    }
    return changed;
}

} // namespace velmiro::demo
