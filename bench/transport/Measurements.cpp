#include "bench/transport/Measurements.hpp"

#include "bench/Targets.hpp"
#include "bench/transport/Samples.hpp"

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

std::string microseconds(double cost) {
    return decimal(cost * 1e6, 1) + " µs";
}
std::string milliseconds(double cost) {
    return decimal(cost * 1e3, 2) + " ms";
}
std::string thousandPerSecond(double cost) {
    return decimal(1e-3 / cost, 1) + " k/s";
}
std::string cpuSeconds(double cost) {
    return decimal(cost, 3) + " s";
}
std::string megabytes(double cost) {
    return decimal(cost / 1e6, 1) + " MB";
}

constexpr double noTarget = 0;

/// The target is the highest cost of our servers in the row, relative to the limit.
Figure figure(std::string name, const char* unit, std::string (*shown)(double), double target) {
    Figure made{std::move(name), unit, shown, {}};
    if (target != noTarget) {
        made.target = costAtMost(target, {"hello_server", "velmiro_mcp"});
    }
    return made;
}

std::vector<Figure> tripFigures(const std::string& what, double target) {
    return {figure(what + ", round trip", "seconds", microseconds, target),
            figure(what + ", slowest of 100 trips", "seconds", microseconds, noTarget)};
}

std::vector<Figure> loadFigures(const std::string& what, double target, double cpuTarget) {
    return {figure(what + ", pipelined", "seconds", thousandPerSecond, target),
            figure(what + ", CPU for 100,000", "seconds", cpuSeconds, cpuTarget),
            figure(what + ", peak memory", "bytes", megabytes, noTarget)};
}

/// Returns the limit for the first server, and the servers, all with one request and the same
/// result.
std::vector<Contender> field(const Request& request, const JSONValue& result,
                             const std::vector<Program>& servers) {
    std::vector<Contender> all;
    for (const Program& server : servers) {
        auto made = contenderOf(server, request);
        requireResult(made, result);
        if (all.empty()) {
            all.push_back(limitFor(made));
        }
        all.push_back(std::move(made));
    }
    return all;
}

Request echoOf(const std::string& text) {
    return {R"(,"method":"tools/call","params":{"name":"echo","arguments":{"text":)" +
            JSONValue{text}.jsonString() + "}}"};
}

/// Returns a text as people write them, which takes up to `length` bytes as JSON: each hundred of
/// them hold an accent, two curly quotes and the escape of a line feed.
std::string mixedText(std::size_t length) {
    constexpr std::string_view sentence =
        "She asked whether the café on the corner was open yet; “not before half past nine”, she "
        "said.\n";
    constexpr std::size_t escaped = sentence.size() + 1; // the line feed takes two bytes
    static_assert(escaped == 100);
    std::string text;
    for (std::size_t left = length; left >= escaped; left -= escaped) {
        text += sentence;
    }
    return text;
}

JSONValue echoed(const std::string& text) {
    return JSONValue::object({
        {"content", JSONValue::array(JSONValue::object({{"type", "text"}, {"text", text}}))},
        {"isError", false},
    });
}

const Request toolsList{R"(,"method":"tools/list","params":{})"};

JSONValue toolsOf(const Program& server) {
    const auto listed = contenderOf(server, toolsList);
    const JSONValue* tools = (*listed.expected.result)["tools"];
    if (elementsOf(tools).empty()) {
        throw std::runtime_error{server.name + " lists no tools"};
    }
    return *tools;
}

} // namespace

std::vector<Measurement> measurements(const Peers* peers) {
    const Program hello = builtProgram("hello_server");
    const Program velmiro = builtProgram("velmiro_mcp");
    const auto echoPeers = peers != nullptr ? peers->withEcho() : std::vector<Program>{};
    const auto with = [](std::vector<Program> ours, const std::vector<Program>& others) {
        ours.insert(ours.end(), others.begin(), others.end());
        return ours;
    };
    const auto pinged = with({hello, velmiro}, echoPeers);
    const auto echoing = with({hello}, echoPeers);
    for (const Program& server : pinged) {
        requireHandshake(server);
    }

    const JSONValue eleven = toolsOf(velmiro);
    const auto listing =
        with({velmiro}, peers != nullptr ? peers->withTools(eleven) : std::vector<Program>{});
    const auto listed = [](const JSONValue& tools) {
        return JSONValue::object({{"tools", tools}});
    };

    const auto pings = field({R"(,"method":"ping")"}, JSONValue::object(), pinged);
    const std::string text = "The quick brown fox jumps over the lazy dog.";
    const auto echoes = field(echoOf(text), echoed(text), echoing);
    const std::string mixed = mixedText(300);
    const auto mixedEchoes = field(echoOf(mixed), echoed(mixed), echoing);
    const std::string large = mixedText(std::size_t{16} << 20U);

    std::vector<Measurement> all{
        {tripFigures("ping", 1.35), pings, sampleRoundTrips},
        {loadFigures("ping", 2.2, 2.5), pings, samplePipelined},
        {loadFigures("tools/list of hello_server", noTarget, noTarget),
         field(toolsList, listed(toolsOf(hello)), echoing), samplePipelined},
        {loadFigures("tools/list of velmiro_mcp", 1.5, noTarget),
         field(toolsList, listed(eleven), listing), samplePipelined},
        {tripFigures("echo", 1.8), echoes, sampleRoundTrips},
        {loadFigures("echo", 3.5, noTarget), echoes, samplePipelined},
        {tripFigures("echo of 300 bytes", noTarget), mixedEchoes, sampleRoundTrips},
        {loadFigures("echo of 300 bytes", noTarget, noTarget), mixedEchoes, samplePipelined},
        {{figure("echo of 16 MiB", "seconds", milliseconds, 2.2),
          figure("peak memory after four of them", "bytes", megabytes, 3)},
         field(echoOf(large), echoed(large), echoing),
         sampleLargeCalls},
        {{figure("start to first reply", "seconds", milliseconds, 1.8),
          figure("peak memory after one ping", "bytes", megabytes, 2.5)},
         pings,
         sampleStart},
    };
    return all;
}

} // namespace velmiro::bench
