#pragma once

#include "velmiro_mcp/services/Approval.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <memory>
#include <string>
#include <vector>

namespace velmiro::test {

/// Records which questions scripted tools ask and which scripts they run, in order. A test sets the
/// answers of the user and the scripts.
struct RecordedScripts {
    struct Call {
        std::string question; ///< "tool: summary" if it is a question
        std::string script;
        std::vector<std::string> arguments;
        std::chrono::milliseconds timeout{0};

        friend bool operator==(const Call&, const Call&) = default;
    };

    std::vector<Call> calls;
    bool allowed = true;
    MCPStdio::JSONValue output;
    std::string error; ///< if not empty, running a script fails with this text

    static Call question(const std::string& text) { return {text, {}, {}, {}}; }
    /// Returns a run with the timeout that all tools use.
    static Call run(std::string_view script, std::vector<std::string> arguments) {
        return {{}, std::string{script}, std::move(arguments), std::chrono::seconds{60}};
    }

    Ask ask() {
        return [this](std::string tool, std::string summary) {
            return answer(std::move(tool), std::move(summary));
        };
    }
    RunScript runner() {
        return [this](std::string script, std::vector<std::string> arguments,
                      std::chrono::milliseconds timeout) {
            return runScript(std::move(script), std::move(arguments), timeout);
        };
    }

private:
    MCPStdio::Task<bool> answer(std::string tool, std::string summary) {
        calls.push_back(question(tool + ": " + summary));
        co_return allowed;
    }
    MCPStdio::Task<MCPStdio::JSONValue> runScript(std::string script,
                                                  std::vector<std::string> arguments,
                                                  std::chrono::milliseconds timeout) {
        calls.push_back({{}, std::move(script), std::move(arguments), timeout});
        if (!error.empty()) {
            throw MCPStdio::MCPToolError{error};
        }
        co_return output;
    }
};

} // namespace velmiro::test
