// How a server answers while calls are pending, and what the pending calls cost.

#include "bench/Load.hpp"
#include "bench/Replies.hpp"
#include "bench/System.hpp"
#include "bench/Targets.hpp"
#include "bench/data/Items.hpp"
#include "bench/scale/PendingCalls.hpp"
#include "bench/scale/Series.hpp"
#include "bench/scale/Stacks.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <unistd.h>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

/// A turn that takes this many seconds hangs; SIGALRM then ends the benchmark.
constexpr unsigned tooLong = 100;
constexpr std::size_t warmUp = 500;
constexpr std::size_t measuredTrips = 2'000;

/// A way for a call to wait.
struct WaitKind {
    const char* name;
    std::unique_ptr<PendingCalls> (*start)(int most);
};
constexpr WaitKind suspended{"suspended", startSuspended};
constexpr WaitKind blocking{"blocking", startBlocking};

/// Takes samples for each series at each count, round by round. All counts are compared with the
/// first one. A count that needs more than the system gives is left out.
void measure(Report& report, std::vector<Series> series, const WaitKind& kind,
             const std::vector<int>& counts, int rounds,
             std::vector<double> (*sample)(const WaitKind&, int count)) {
    for (Series& one : series) {
        one.name = std::string{kind.name} + ", " + one.name;
        for (const int count : counts) {
            one.points.push_back({count, {}});
        }
    }
    std::set<int> leftOut;
    inTurns(rounds, counts.size(), [&](std::size_t turn) {
        const int count = counts[turn];
        if (leftOut.contains(count)) {
            return;
        }
        ::alarm(tooLong);
        try {
            const auto taken = sample(kind, count);
            for (std::size_t i = 0; i < series.size(); ++i) {
                series[i].points[turn].samples.push_back(taken[i]);
            }
        } catch (const TooMany& reason) {
            leftOut.insert(count);
            report.leftOut.push_back(counted(count) + " " + kind.name + " calls: " + reason.what());
        }
        ::alarm(0);
    });
    for (Series& one : series) {
        std::erase_if(one.points,
                      [&](const Point& point) { return leftOut.contains(point.count); });
        report.series.push_back(std::move(one));
    }
}

std::vector<double> pingTrips(Server& server, std::size_t count) {
    const Request ping{R"(,"method":"ping")"};
    static constexpr std::string_view form = R"({"id":1000000,"jsonrpc":"2.0","result":{}})";
    std::string reply(form.size() + 1, '\0');
    std::vector<double> trips(count);
    roundTrips(server, ping.lines(1), reply, trips);
    check(reply, 1, {reply.size(), JSONValue::object()});
    return trips;
}

/// Returns the median and the 99th percentile of pings, and the time that the end of the waiting
/// took for each call.
std::vector<double> samplePing(const WaitKind& kind, int count) {
    const auto calls = kind.start(count);
    calls->hold(count);
    pingTrips(calls->server(), warmUp);
    auto trips = pingTrips(calls->server(), measuredTrips);
    const double released = calls->release();
    std::ranges::sort(trips);
    return {trips[trips.size() / 2], trips[trips.size() * 99 / 100], released / std::max(count, 1)};
}

struct Memory {
    double resident;
    double stacks;
    double threads;
};

Memory memoryOf(Server& server) {
    const pid_t process = server.process();
    return {residentBytes(process), residentStackBytes(process),
            static_cast<double>(threadsOf(process))};
}

/// Returns how much resident memory each call added to a server that has answered such a call
/// before, how much of it is stacks, and how many threads there are.
std::vector<double> sampleMemory(const WaitKind& kind, int count) {
    const auto calls = kind.start(count);
    calls->hold(1);
    calls->release();
    pingTrips(calls->server(), warmUp);
    const Memory before = memoryOf(calls->server());
    calls->hold(count);
    const Memory after = memoryOf(calls->server());
    calls->release();
    return {(after.resident - before.resident) / count, (after.stacks - before.stacks) / count,
            after.threads};
}

std::string bytes(double cost) {
    return counted(static_cast<int>(cost)) + " B";
}

std::string number(double cost) {
    return counted(static_cast<int>(cost));
}

/// The highest median of a row in these columns is at most this.
Target atMost(double limit, std::vector<int> counts, std::string (*shown)(double)) {
    return {Target::Bound::atMost, limit,
            [counts = std::move(counts)](const Figure& row) {
                double highest = 0;
                for (const int count : counts) {
                    const auto at =
                        std::ranges::find(row.costs, columnOf(count), &Costs::contender);
                    highest = std::max(highest, median(at->samples));
                }
                return highest;
            },
            shown};
}

} // namespace

std::vector<Report> measurePing(int rounds) {
    Report pings{"ping, one after the other, while tools/calls are pending", Ratio::cost};
    Report ends{"from the end of the waiting to the last reply, for each call", Ratio::cost};
    for (const WaitKind& kind : {suspended, blocking}) {
        const std::vector<int> counts{0, 1, 100, 1'000, 10'000};
        std::vector<std::string> columns;
        std::ranges::transform(counts, std::back_inserter(columns), columnOf);
        constexpr double slower = 1.5;
        measure(pings,
                {{"half of the pings", "seconds", microseconds, {}, costAtMost(slower, columns)},
                 {"99 in 100 pings", "seconds", microseconds},
                 {"release", "seconds", microseconds}},
                kind, counts, rounds, samplePing);
        Series release = std::move(pings.series.back());
        pings.series.pop_back();
        std::erase_if(release.points, [](const Point& point) { return point.count == 0; });
        ends.series.push_back(std::move(release));
    }
    return {std::move(pings), std::move(ends)};
}

std::vector<Report> measureMemory(int rounds) {
    Report report{"memory of a pending call, and threads", Ratio::none};
    constexpr double small = 2'048;
    const auto series = [](std::optional<Target> target) -> std::vector<Series> {
        return {{"resident memory of each", "bytes", bytes, {}, std::move(target)},
                {"of it stacks", "bytes", bytes},
                {"threads of the server", "threads", number}};
    };
    measure(report, series(atMost(small, {1'000, 10'000}, bytes)), suspended,
            {1, 100, 1'000, 10'000}, rounds, sampleMemory);
    measure(report, series(std::nullopt), blocking, {1, 100, 1'000}, rounds, sampleMemory);
    return {std::move(report)};
}

} // namespace velmiro::bench
