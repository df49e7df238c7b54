#include "bench/transport/Samples.hpp"

#include "bench/Figures.hpp"
#include "bench/Server.hpp"
#include "bench/System.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace velmiro::bench {
namespace {

std::string replyBuffer(const Contender& contender, int count) {
    std::string room(contender.expected.length * static_cast<std::size_t>(count), '\0');
    return room;
}

/// Returns a number of requests whose replies fit into the memory that is there anyway.
int fitting(int count, const Contender& contender) {
    constexpr std::size_t room = std::size_t{32} << 20U;
    return std::min(count, static_cast<int>(room / contender.expected.length));
}

/// Sends `count` requests and checks the replies. Returns the seconds it took.
double timedExchange(Server& server, const Contender& contender, int count) {
    std::string replies = replyBuffer(contender, count);
    const double taken = exchange(server, contender.request.lines(count), replies);
    check(replies, count, contender.expected);
    return taken;
}

void warmUp(Server& server, const Contender& contender) {
    timedExchange(server, contender, fitting(contender.program.effort.warmUp, contender));
}

} // namespace

std::vector<double> sampleRoundTrips(const Contender& contender) {
    Server server{contender.program.command};
    warmUp(server, contender);
    std::string reply = replyBuffer(contender, 1);
    std::vector<double> trips(static_cast<std::size_t>(contender.program.effort.trips));
    roundTrips(server, contender.request.lines(1), reply, trips);
    check(reply, 1, contender.expected);
    std::ranges::sort(trips);
    return {trips[trips.size() / 2], trips[trips.size() * 99 / 100]};
}

std::vector<double> samplePipelined(const Contender& contender) {
    Server server{contender.program.command};
    warmUp(server, contender);
    const int count = fitting(contender.program.effort.pipelined, contender);
    const double before = processSeconds(server.process());
    const double taken = timedExchange(server, contender, count);
    return {taken / count, (processSeconds(server.process()) - before) / count * 100'000,
            peakBytes(server.process())};
}

std::vector<double> sampleLargeCalls(const Contender& contender) {
    Server server{contender.program.command};
    std::vector<double> calls(4);
    for (double& call : calls) {
        call = timedExchange(server, contender, 1);
    }
    calls.erase(calls.begin()); // its memory is new; the others reuse it
    return {median(std::move(calls)), peakBytes(server.process())};
}

std::vector<double> sampleStart(const Contender& contender) {
    const std::string line = contender.request.lines(1);
    std::vector<double> starts(static_cast<std::size_t>(contender.program.effort.starts));
    double peak = 0;
    for (double& start : starts) {
        const double before = seconds();
        Server server{contender.program.command};
        const std::string reply = firstReply(server, line) + '\n';
        start = seconds() - before;
        check(reply, 1, contender.expected);
        peak = peakBytes(server.process());
    }
    return {median(std::move(starts)), peak};
}

} // namespace velmiro::bench
