#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "bench/Server.hpp"

#include <string>

namespace velmiro::bench {

/// A newly started server, and the calls it gets.
class ServerSession {
public:
    ServerSession();

    /// Calls a tool and returns the payload of its answer. Throws std::runtime_error if the call
    /// fails.
    MCPStdio::JSONValue call(const std::string& tool, const MCPStdio::JSONValue& arguments);

private:
    Server server_;
};

/// Returns the number of a message, as a new server gives it in the `list` of the inbox. Throws
/// std::runtime_error if it is not listed.
MCPStdio::JSONValue identifierOf(const std::string& subject, const MCPStdio::JSONValue& list);

} // namespace velmiro::bench
