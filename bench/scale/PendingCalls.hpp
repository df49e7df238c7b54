#pragma once

#include "bench/Server.hpp"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velmiro::bench {

/// The system does not give what so many calls need. That is no failure: they are left out.
class TooMany : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A server that has just been started, and calls of it that have no answer yet.
class PendingCalls {
public:
    explicit PendingCalls(const std::vector<std::string>& command) : server_{command} {}
    PendingCalls(const PendingCalls&) = delete;
    PendingCalls& operator=(const PendingCalls&) = delete;
    /// Ends the server, whatever it waits for.
    virtual ~PendingCalls();

    [[nodiscard]] Server& server() noexcept { return server_; }

    /// Makes so many calls, and returns when all of them wait for something. To be called when none
    /// does. Throws TooMany, std::runtime_error.
    virtual void hold(int count) = 0;

    /// Ends what they wait for and checks that each is answered once, and rightly. Gives the
    /// seconds until the last answer. Throws std::runtime_error.
    virtual double letGo() = 0;

private:
    Server server_;
};

/// A server for no more than so many calls at once, which hold no thread: each is a coroutine of
/// pending_server.
std::unique_ptr<PendingCalls> startSuspended(int most);

/// The same with calls that wait for an approval host which does not answer, each on a thread of
/// velmiro_mcp's. Throws TooMany.
std::unique_ptr<PendingCalls> startBlocking(int most);

} // namespace velmiro::bench
