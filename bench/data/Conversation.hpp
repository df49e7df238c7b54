#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "bench/Server.hpp"

#include <string>

namespace velmiro::bench {

/// A server that has just been started, and the calls it gets.
class Conversation {
public:
    Conversation();

    /// Calls a tool and gives the payload of its answer. Throws std::runtime_error when it fails.
    MCPStdio::JSONValue call(const std::string& tool, const MCPStdio::JSONValue& arguments);

private:
    Server server_;
};

} // namespace velmiro::bench
