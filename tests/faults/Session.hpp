#pragma once

#include "support/ChildProcess.hpp"
#include "tests/faults/SampleHome.hpp"
#include "tests/faults/ToolCalls.hpp"
#include "tests/support/Answer.hpp"
#include "tests/support/FailingCalls.hpp"
#include "tests/support/ScriptedHost.hpp"

#include <memory>
#include <optional>
#include <string>

namespace velmiro::test {

/// A server whose calls can be made to fail, on a sample home, with a user who allows everything.
class Session {
public:
    Session();

    FailingCalls failures;

    [[nodiscard]] const SampleHome& home() const { return home_; }

    /// Starts the server, instead of a running one.
    void start();
    [[nodiscard]] support::ChildProcess& server() { return *server_; }

    /// Calls a tool and returns the answer.
    Answer call(const ToolCall& call);

    /// Returns whether the server answers a ping.
    bool isAlive();

    /// Returns the data now.
    [[nodiscard]] std::map<std::string, std::string> files() const;
    [[nodiscard]] VisibleState state() const;

    /// Returns the number of the server's child processes, running or not.
    [[nodiscard]] std::size_t childCount() const;

private:
    std::string argumentsOf(const ToolCall& call);

    SampleHome home_;
    support::TemporaryFolder elsewhere_{"/tmp"};
    ScriptedHost host_;
    std::unique_ptr<support::ChildProcess> server_;
    std::string messageID_; ///< of a message in the sample, once it is known
    int lastID_ = 0;
};

} // namespace velmiro::test
