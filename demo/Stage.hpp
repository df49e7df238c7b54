#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "demo/Program.hpp"
#include "demo/SampleHome.hpp"
#include "demo/Transcript.hpp"

#include <map>
#include <optional>
#include <span>
#include <string>

namespace velmiro::demo {

using MCPStdio::JSONValue;

/// Parts of a reply; a Failure where they are not what they should be.
const JSONValue& member(const JSONValue& value, const char* name);
std::string text(const JSONValue& value);
std::span<const JSONValue> elements(const JSONValue& value);

/// What a tool answered.
struct Reply {
    std::string text;
    bool isError = false;

    /// The text as JSON; a Failure when it is an error.
    [[nodiscard]] JSONValue payload() const;
};

/// Where scenes play: the home, the server, the approval host and the user, and what is shown of
/// them. Whatever does not go as it should is a Failure.
class Stage {
public:
    /// The user answers the first question when the session is interactive.
    Stage(const std::string& binaries, const std::string& samples, bool interactive);

    [[nodiscard]] const Transcript& transcript() const { return transcript_; }
    [[nodiscard]] const SampleHome& home() const { return home_; }

    /// Whether the next question is the user's, not a played one.
    [[nodiscard]] bool isUsersTurn() const { return usersTurns_ > 0; }

    /// One request of the protocol; gives its result.
    JSONValue request(const char* method, JSONValue parameters);
    void notify(const char* method) const;

    /// Calls a tool and shows the call; the answer is for the scene to show.
    Reply call(const char* tool, const JSONValue& arguments);

    /// Calls a tool that has to fail just so, and shows that.
    void fail(const char* tool, const JSONValue& arguments, const std::string& expected);

    /// Calls a tool that asks the user, and shows all of it. The question must contain `about`; the
    /// answer is `played` when it is not the user's turn. Gives the reply after a yes, nothing
    /// after a no, which must have changed no file.
    std::optional<JSONValue> callWithQuestion(const char* tool, const JSONValue& arguments,
                                              const std::string& about, bool played);

    /// The same for a call that fails after a yes; gives the error.
    std::string callWithQuestionThatFails(const char* tool, const JSONValue& arguments,
                                          const std::string& about);

    /// Closes the server's input, and gives its exit status.
    int end();

private:
    void send(const char* method, JSONValue parameters);
    JSONValue receive();
    void sendCall(const char* tool, const JSONValue& arguments);
    Reply receiveCall();
    bool ask(const char* tool, const JSONValue& arguments, const std::string& about, bool played);
    bool answer(std::string question, bool played);

    Transcript transcript_;
    SampleHome home_;
    int usersTurns_; ///< how many questions the user still answers
    int requests_ = 0;
    Program host_;
    Program server_;
};

/// The files of `after` that are new or changed since `before`, by their paths.
std::map<std::string, std::string> changedFiles(const std::map<std::string, std::string>& before,
                                                const std::map<std::string, std::string>& after);

} // namespace velmiro::demo
