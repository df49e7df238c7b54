#pragma once

#include "bench/Load.hpp"
#include "bench/Replies.hpp"

#include <string>
#include <vector>

namespace velmiro::bench {

/// How much one measurement asks of a program. What it gives is always for one request, or for a
/// hundred thousand of them.
struct Effort {
    int warmUp;
    int trips;
    int pipelined;
    int starts;
};

/// A server, or what is held against it.
struct Program {
    std::string name; ///< at the head of its column
    std::vector<std::string> command;
    Effort effort;
};

/// A program, one request and what it answers to that: all that a measurement needs.
struct Contender {
    Program program;
    Request request;
    Expected expected;
};

/// One of those that are built beside this program.
Program builtProgram(const std::string& name);

/// A program that is asked once, to know what it answers. Throws std::runtime_error when that is no
/// result.
Contender contenderOf(Program program, Request request);

/// The limit with the same request, and a reply as long as the server's.
Contender limitFor(const Contender& server);

/// Throw std::runtime_error when a program gives another result than this one, or does not say
/// hello as the protocol has it.
void requireResult(const Contender& contender, const MCPStdio::JSONValue& result);
void requireHandshake(const Program& program);

} // namespace velmiro::bench
