#include "bench/transport/Contender.hpp"

#include "bench/Server.hpp"
#include "bench/System.hpp"

#include <stdexcept>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

Program builtProgram(const std::string& name) {
    return {name,
            {programFolder() / name},
            {.warmUp = 1000, .trips = 20'000, .pipelined = 100'000, .starts = 15}};
}

Contender contenderOf(Program program, Request request) {
    Server server{program.command};
    const std::string reply = firstReply(server, request.lines(1));
    return {std::move(program), std::move(request), {reply.size() + 1, resultOf(reply)}};
}

Contender limitFor(const Contender& server) {
    Program limit = builtProgram("limit_server");
    limit.name = "limit";
    limit.command.push_back(std::to_string(server.expected.length));
    return {std::move(limit), server.request, {server.expected.length, std::nullopt}};
}

void requireResult(const Contender& contender, const JSONValue& result) {
    if (contender.expected.result != result) {
        throw std::runtime_error{contender.program.name + " answers another result: " +
                                 contender.expected.result->jsonString().substr(0, 300)};
    }
}

void requireHandshake(const Program& program) {
    const auto hello =
        contenderOf(program, {R"(,"method":"initialize","params":{"protocolVersion":"2025-06-18",)"
                              R"("capabilities":{},"clientInfo":{"name":"bench","version":"1"}})"});
    const JSONValue* version = (*hello.expected.result)["protocolVersion"];
    if (version == nullptr || version->stringValue() != "2025-06-18") {
        throw std::runtime_error{program.name + " does not speak the protocol: " +
                                 hello.expected.result->jsonString().substr(0, 300)};
    }
}

} // namespace velmiro::bench
