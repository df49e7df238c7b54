#pragma once

#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "velmiro_mcp/services/Semaphore.hpp"

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace velmiro {

/// Runs automation scripts, each in a child process of its own. Safe to use from any thread; must
/// outlive its calls.
///
/// Calls neither delay one another nor fail for lack of threads, descriptors or processes. At most
/// 64 children run at a time: more than the applications they talk to can serve at once, and as
/// many as a small machine can hold. Further calls wait, without a thread. A child that outlives
/// its timeout no longer counts, so children that refuse to end cannot block the others for good.
/// If the system has run out of a resource, starting is retried for as long as `timeout`.
class ScriptRunner {
public:
    static constexpr std::size_t mostAtOnce = 64;

    explicit ScriptRunner(std::string interpreter) : interpreter_{std::move(interpreter)} {}

    /// Returns the runner of the system's interpreter, created on first use and kept for the life
    /// of the process.
    static ScriptRunner& shared();

    /// Runs a script that defines `function run(argv)`, which receives exactly `arguments`. Returns
    /// the JSON that it prints; any other output is returned as a string, trimmed. If the script
    /// fails, throws MCPToolError with what it wrote to standard error. After `timeout` the script
    /// is asked to end, once. The call waits until it does, and its exit decides the outcome.
    MCPStdio::Task<MCPStdio::JSONValue> run(std::string script, std::vector<std::string> arguments,
                                            std::chrono::milliseconds timeout);

private:
    const std::string interpreter_;
    Semaphore running_{mostAtOnce};
    /// One script starts at a time. If the system has run out of something, that one alone waits
    /// for it on a thread; many would hold, with their threads and half of their pipes, what all
    /// lack.
    Semaphore starting_{1};
};

/// How a tool runs a script: `ScriptRunner::run`, or a test's substitute.
using RunScript = std::function<MCPStdio::Task<MCPStdio::JSONValue>(
    std::string script, std::vector<std::string> arguments, std::chrono::milliseconds timeout)>;

} // namespace velmiro
