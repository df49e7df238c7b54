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
/// A call neither holds up another nor fails for lack of threads, descriptors or processes. 64
/// children run at a time: more than the applications that they talk to serve at once, and as many
/// as a small machine can hold. Further calls wait, without a thread. A child that has outlived its
/// time no longer counts, so that even those that refuse to end do not block the way for good.
/// Where the system has run out of something, starting is tried again for as long as `timeout`.
class ScriptRunner {
public:
    static constexpr std::size_t mostAtOnce = 64;

    explicit ScriptRunner(std::string interpreter) : interpreter_{std::move(interpreter)} {}

    /// The runner of the system's interpreter: made on first use, kept for the life of the process.
    static ScriptRunner& shared();

    /// Runs a script that defines `function run(argv)`, which receives exactly `arguments`. Gives
    /// back the JSON that it prints, or what it prints otherwise, trimmed, as a string. When it
    /// fails, what it says on standard error is thrown as MCPToolError. After `timeout` it is asked
    /// to end, once; however it then ends is the outcome, and until it does the call waits.
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

/// How a tool runs a script: `ScriptRunner::run`, or what stands for it in a test.
using RunScript = std::function<MCPStdio::Task<MCPStdio::JSONValue>(
    std::string script, std::vector<std::string> arguments, std::chrono::milliseconds timeout)>;

} // namespace velmiro
