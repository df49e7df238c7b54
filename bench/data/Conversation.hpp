#pragma once

#include "MCPStdio/JSONValue.hpp"
#include "bench/Server.hpp"

#include <string>
#include <vector>

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

/// Runs a program to its end and gives what it wrote to its standard output. Throws
/// std::runtime_error when it fails.
std::string outputOf(const std::vector<std::string>& command);

} // namespace velmiro::bench
