#pragma once

#include "bench/Load.hpp"
#include "bench/Replies.hpp"

#include <string>
#include <vector>

namespace velmiro::bench {

/// How much work one measurement gives to a program. Results are always for one request, or for a
/// hundred thousand.
struct Effort {
    int warmUp;
    int trips;
    int pipelined;
    int starts;
};

/// A server, or the limit that servers are compared with.
struct Program {
    std::string name; ///< the head of its column
    std::vector<std::string> command;
    Effort effort;
};

/// A program, one request and the expected reply.
struct Contender {
    Program program;
    Request request;
    Expected expected;
};

/// Returns one of the programs that are built in the folder of this one.
Program builtProgram(const std::string& name);

/// Sends the request to the program once, to learn the expected reply. Throws std::runtime_error if
/// that is not a result.
Contender contenderOf(Program program, Request request);

/// Returns the limit with the same request, and replies as long as the server's.
Contender limitFor(const Contender& server);

/// Throw std::runtime_error if a program answers with another result, or does not complete the
/// protocol's handshake.
void requireResult(const Contender& contender, const MCPStdio::JSONValue& result);
void requireHandshake(const Program& program);

} // namespace velmiro::bench
