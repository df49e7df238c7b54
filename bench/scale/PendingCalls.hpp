#pragma once

#include "bench/Server.hpp"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmiro::bench {

/// The system has too few resources for that many calls. The count is left out; this is no failure.
class TooMany : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A newly started server, and calls that it has not answered yet.
class PendingCalls {
public:
    explicit PendingCalls(const std::vector<std::string>& command) : server_{command} {}
    PendingCalls(const PendingCalls&) = delete;
    PendingCalls& operator=(const PendingCalls&) = delete;
    /// Kills the server.
    virtual ~PendingCalls();

    [[nodiscard]] Server& server() noexcept { return server_; }

    /// Makes `count` calls, and returns when all of them are waiting. No call may be waiting
    /// before. Throws TooMany, std::runtime_error.
    virtual void hold(int count) = 0;

    /// Releases the calls, and checks that each gets exactly one, correct answer. Returns the
    /// seconds until the last answer. Throws std::runtime_error.
    virtual double release() = 0;

private:
    Server server_;
};

/// Starts a server for at most that many calls at once, none of which holds a thread: each is a
/// coroutine of pending_server.
std::unique_ptr<PendingCalls> startSuspended(int most);

/// Starts a server whose calls wait for an approval host that does not answer, each on a thread of
/// velmiro_mcp. Throws TooMany.
std::unique_ptr<PendingCalls> startBlocking(int most);

} // namespace velmiro::bench
