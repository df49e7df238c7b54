// Loads servers through pipes and holds them against the least a program can do, in turns, in one
// run. Every measurement starts a server of its own, and what it answered is checked behind the
// clock's back.

#include "bench/Figures.hpp"
#include "bench/Load.hpp"
#include "bench/Options.hpp"
#include "bench/Replies.hpp"
#include "bench/Server.hpp"
#include "bench/System.hpp"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace {

using namespace velmiro::bench;
using MCPStdio::JSONValue;

constexpr int warmUp = 1000;
/// Into which a whole measurement's replies fit; a load that has more of them is made smaller.
constexpr std::size_t roomForReplies = std::size_t{32} << 20U;
/// No measurement takes this many seconds: the server hangs, and SIGALRM ends us.
constexpr unsigned tooLong = 120;

/// A program, one request and what it answers to that: all that a measurement needs.
struct Contender {
    std::string name;
    std::vector<std::string> command;
    Request request;
    Expected expected;
};

/// What can be measured at once, as so many figures.
struct Measurement {
    std::vector<Figure> figures;
    std::vector<Contender> contenders;
    std::vector<double> (*take)(const Contender&);
};

std::string replyBuffer(const Contender& contender, int count) {
    std::string room(contender.expected.length * static_cast<std::size_t>(count), '\0');
    return room;
}

/// Sends as many requests, checks the replies, and gives the seconds it took.
double timedExchange(Server& server, const Contender& contender, int count) {
    std::string replies = replyBuffer(contender, count);
    const double taken = exchange(server, contender.request.lines(count), replies);
    check(replies, count, contender.expected);
    return taken;
}

/// One request after the other: half of the trips, and 99 in 100, took no longer than this.
std::vector<double> takeRoundTrips(const Contender& contender) {
    Server server{contender.command};
    timedExchange(server, contender, warmUp);
    std::string reply = replyBuffer(contender, 1);
    std::vector<double> trips(20'000);
    roundTrips(server, contender.request.lines(1), reply, trips);
    check(reply, 1, contender.expected);
    std::ranges::sort(trips);
    return {trips[trips.size() / 2], trips[trips.size() * 99 / 100]};
}

/// As many requests as the pipe holds are under way: seconds for each, and the server's CPU seconds
/// for a hundred thousand of them.
std::vector<double> takePipelined(const Contender& contender) {
    Server server{contender.command};
    timedExchange(server, contender, warmUp);
    const int count = static_cast<int>(
        std::min<std::size_t>(100'000, roomForReplies / contender.expected.length));
    const double before = processSeconds(server.process());
    const double taken = timedExchange(server, contender, count);
    return {taken / count, (processSeconds(server.process()) - before) / count * 100'000};
}

/// From before the process was made to its first reply, and its memory then.
std::vector<double> takeStart(const Contender& contender) {
    const std::string line = contender.request.lines(1);
    std::vector<double> starts(15);
    double peak = 0;
    for (double& start : starts) {
        const double before = seconds();
        Server server{contender.command};
        const std::string reply = firstReply(server, line) + '\n';
        start = seconds() - before;
        check(reply, 1, contender.expected);
        peak = peakBytes(server.process());
    }
    return {median(std::move(starts)), peak};
}

/// One large request after the other: seconds for each, and the server's memory after them all.
std::vector<double> takeLargeCalls(const Contender& contender) {
    Server server{contender.command};
    std::vector<double> calls(4);
    for (double& call : calls) {
        call = timedExchange(server, contender, 1);
    }
    calls.erase(calls.begin()); // it touches the memory that the others use again
    return {median(std::move(calls)), peakBytes(server.process())};
}

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

Figure figure(std::string name, const char* unit, std::string (*shown)(double)) {
    return {std::move(name), unit, shown, {}};
}

Contender contender(const std::string& name, Request request) {
    Contender made{name, {programFolder() / name}, std::move(request), {}};
    Server server{made.command};
    const std::string reply = firstReply(server, made.request.lines(1));
    made.expected = {reply.size() + 1, resultOf(reply)};
    return made;
}

/// The limit with the same request, and a reply as long as the server's.
Contender limitFor(const Contender& server) {
    return {"limit",
            {programFolder() / "limit_server", std::to_string(server.expected.length)},
            server.request,
            {server.expected.length, std::nullopt}};
}

Request echoOf(const std::string& text) {
    return {R"(,"method":"tools/call","params":{"name":"echo","arguments":{"text":")" + text +
            R"("}})"};
}

void requireResult(const Contender& contender, const JSONValue& result) {
    if (contender.expected.result != result) {
        throw std::runtime_error{contender.name + " answers another result: " +
                                 contender.expected.result->jsonString().substr(0, 300)};
    }
}

Contender echoContender(const std::string& text) {
    auto made = contender("hello_server", echoOf(text));
    requireResult(
        made,
        JSONValue::object({
            {"content", JSONValue::array(JSONValue::object({{"type", "text"}, {"text", text}}))},
            {"isError", false},
        }));
    return made;
}

Measurement toolsList(const char* server) {
    auto made = contender(server, {R"(,"method":"tools/list","params":{})"});
    const JSONValue* tools = (*made.expected.result)["tools"];
    if (tools == nullptr || !tools->arrayValue() || tools->arrayValue()->empty()) {
        throw std::runtime_error{made.name + " lists no tools"};
    }
    const auto label = "tools/list of " + made.name;
    std::cout << label << ": " << tools->arrayValue()->size() << " tool(s), replies of "
              << made.expected.length << " bytes\n";
    return {{figure(label, "seconds", thousandPerSecond),
             figure(label + ", CPU for 100,000", "seconds", cpuSeconds)},
            {limitFor(made), made},
            takePipelined};
}

std::vector<Measurement> measurements() {
    const Request ping{R"(,"method":"ping")"};
    const auto hello = contender("hello_server", ping);
    const auto velmiro = contender("velmiro_mcp", ping);
    requireResult(hello, JSONValue::object());
    requireResult(velmiro, JSONValue::object());
    const std::vector<Contender> pinged{limitFor(hello), hello, velmiro};
    const auto echo = echoContender("The quick brown fox jumps over the lazy dog.");
    const auto largeEcho = echoContender(std::string(std::size_t{16} << 20U, 'm'));
    return {
        {{figure("ping, round trip", "seconds", microseconds),
          figure("ping, slowest of 100 trips", "seconds", microseconds)},
         pinged,
         takeRoundTrips},
        {{figure("ping, pipelined", "seconds", thousandPerSecond),
          figure("ping, CPU for 100,000", "seconds", cpuSeconds)},
         pinged,
         takePipelined},
        toolsList("hello_server"),
        toolsList("velmiro_mcp"),
        {{figure("tools/call echo, round trip", "seconds", microseconds),
          figure("tools/call echo, slowest of 100 trips", "seconds", microseconds)},
         {limitFor(echo), echo},
         takeRoundTrips},
        {{figure("tools/call echo, pipelined", "seconds", thousandPerSecond),
          figure("tools/call echo, CPU for 100,000", "seconds", cpuSeconds)},
         {limitFor(echo), echo},
         takePipelined},
        {{figure("echo of 16 MiB", "seconds", milliseconds),
          figure("peak memory after four of them", "bytes", megabytes)},
         {limitFor(largeEcho), largeEcho},
         takeLargeCalls},
        {{figure("start to first reply", "seconds", milliseconds),
          figure("peak memory after one ping", "bytes", megabytes)},
         pinged,
         takeStart},
    };
}

void run(const Options& options) {
    std::cout << "transport_bench: servers over pipes against the limit, a program that only finds "
                 "lines\nand writes for each a fixed reply of the same length. ";
    if (options.pinned) {
        std::cout << "All on CPU " << stayOnOneCPU() << ".\n";
    } else {
        std::cout << "On any CPU.\n";
    }
    std::cout << "Ratios are costs, limit = 1.00, lower is better; medians of " << options.rounds
              << " rounds.\n";
    ::signal(SIGPIPE, SIG_IGN); // a server that ended is told by the call that fails

    ::alarm(tooLong);
    auto all = measurements();
    for (Measurement& measurement : all) {
        for (Figure& figure : measurement.figures) {
            for (const Contender& contender : measurement.contenders) {
                figure.costs.push_back({contender.name, {}});
            }
        }
    }
    for (int round = 0; round < options.rounds; ++round) {
        for (Measurement& measurement : all) {
            const std::size_t count = measurement.contenders.size();
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t turn = (static_cast<std::size_t>(round) + i) % count;
                ::alarm(tooLong);
                const auto costs = measurement.take(measurement.contenders[turn]);
                for (std::size_t j = 0; j < costs.size(); ++j) {
                    measurement.figures[j].costs[turn].samples.push_back(costs[j]);
                }
            }
        }
    }
    std::vector<Figure> figures;
    for (Measurement& measurement : all) {
        std::ranges::move(measurement.figures, std::back_inserter(figures));
    }
    std::cout << '\n';
    printTable({"limit", "hello_server", "velmiro_mcp"}, figures, Ratio::cost);
    if (options.json) {
        saveJSON(*options.json, "transport_bench",
                 JSONValue::object({{"rounds", options.rounds},
                                    {"pinned", options.pinned},
                                    {"figures", asJSON(figures, Ratio::cost)}}));
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        run(readOptions(argumentCount, arguments, 5));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "transport_bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
