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

/// Return parts of a reply. Throw a Failure if they are missing or of another kind.
const JSONValue& member(const JSONValue& value, const char* name);
std::string text(const JSONValue& value);
std::span<const JSONValue> elements(const JSONValue& value);

/// The answer of a tool.
struct Reply {
    std::string text;
    bool isError = false;

    /// Parses the text as JSON. Throws a Failure if the answer is an error.
    [[nodiscard]] JSONValue payload() const;
};

/// The stage on which scenes play: the home, the server, the approval host and the user, and the
/// transcript. Throws a Failure if anything does not go as it should.
class Stage {
public:
    /// The sample data is dated around `today`. In an interactive session, the user answers the first
    /// question.
    Stage(const std::string& binaries, const std::string& samples, std::chrono::sys_days today,
          bool interactive);

    [[nodiscard]] Transcript& transcript() { return transcript_; }
    [[nodiscard]] const SampleHome& home() const { return home_; }

    /// Returns whether the user answers the next question, rather than the demo.
    [[nodiscard]] bool isUsersTurn() const { return usersTurns_ > 0; }

    /// Sends a request of the protocol and returns its result.
    JSONValue request(const char* method, JSONValue parameters);
    void notify(const char* method) const;

    /// Calls a tool and shows the call. The scene shows the answer.
    Reply call(const char* tool, const JSONValue& arguments);

    /// Calls a tool that has to fail with exactly this error, and shows both.
    void fail(const char* tool, const JSONValue& arguments, const std::string& expected);

    /// Calls a tool that asks the user, and shows the exchange. The question must contain `about`;
    /// if it is not the user's turn, the answer is `played`. Returns the reply after a yes. Returns
    /// nullopt after a no, and checks that no file has changed.
    std::optional<JSONValue> callWithQuestion(const char* tool, const JSONValue& arguments,
                                              const std::string& about, bool played);

    /// Calls a tool in the same way that fails after a yes. Returns the error.
    std::string callWithQuestionThatFails(const char* tool, const JSONValue& arguments,
                                          const std::string& about);

    /// Closes the server's input and returns its exit status.
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
    int usersTurns_; ///< questions that the user still answers
    int requests_ = 0;
    Program host_;
    Program server_;
};

/// Returns the files of `after` that are new or changed since `before`, by path.
std::map<std::string, std::string> changedFiles(const std::map<std::string, std::string>& before,
                                                const std::map<std::string, std::string>& after);

} // namespace velmiro::demo
