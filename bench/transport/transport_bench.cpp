// Compares servers over pipes, in turns and in one run, with the least that a program can do: ours
// and, on one CPU, servers as people write them today.

#include "bench/Figures.hpp"
#include "bench/Options.hpp"
#include "bench/System.hpp"
#include "bench/Table.hpp"
#include "bench/Targets.hpp"
#include "bench/transport/Measurements.hpp"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <optional>
#include <unistd.h>
#include <utility>

namespace {

using namespace velmiro::bench;
using MCPStdio::JSONValue;

/// A measurement that takes this many seconds hangs; SIGALRM then ends the benchmark.
constexpr unsigned tooLong = 120;

/// Measures in turns, with rounds as the outer loop: a disturbance then affects a few samples of
/// many figures, instead of all samples of one.
std::vector<Figure> measure(std::vector<Measurement> all, int rounds) {
    for (Measurement& measurement : all) {
        for (Figure& figure : measurement.figures) {
            for (const Contender& contender : measurement.contenders) {
                figure.costs.push_back({contender.program.name, {}});
            }
        }
    }
    for (int round = 0; round < rounds; ++round) {
        for (Measurement& measurement : all) {
            const std::size_t count = measurement.contenders.size();
            for (std::size_t i = 0; i < count; ++i) {
                const std::size_t turn = (static_cast<std::size_t>(round) + i) % count;
                ::alarm(tooLong);
                const auto costs = measurement.sample(measurement.contenders[turn]);
                for (std::size_t j = 0; j < costs.size(); ++j) {
                    measurement.figures[j].costs[turn].samples.push_back(costs[j]);
                }
            }
        }
    }
    ::alarm(0);
    std::vector<Figure> figures;
    for (Measurement& measurement : all) {
        std::ranges::move(measurement.figures, std::back_inserter(figures));
    }
    return figures;
}

void introduce(std::optional<int> cpu, const std::optional<Peers>& peers, int rounds) {
    std::cout << "transport_bench: servers over pipes against the limit, a program that only finds "
                 "lines\nand writes for each a fixed reply of the same length. ";
    if (cpu) {
        std::cout << "All on CPU " << *cpu << ".\n";
    } else {
        std::cout << "On any CPU: nothing is to be\nlost when threads spread. Waking another CPU "
                     "has a price that depends on the machine.\n";
    }
    if (peers) {
        std::cout << "Beside ours, servers that people write: on the official TypeScript SDK, and "
                     "in plain\nJavaScript, with Node.js "
                  << peers->nodeVersion() << ".\n";
    }
    std::cout << "Ratios are costs, limit = 1.00, lower is better; medians of " << rounds
              << " rounds.\n\n"
              << std::flush;
}

void run(const Options& options) {
    ::signal(SIGPIPE, SIG_IGN); // if a server has ended, the write fails instead
    ::alarm(tooLong);
    std::vector<std::string> columns{"limit", "hello_server", "velmiro_mcp"};
    std::optional<int> cpu;
    std::optional<Peers> peers;
    if (options.pinned) {
        cpu = stayOnOneCPU();
        peers.emplace();
        for (const Program& peer : peers->withEcho()) {
            columns.push_back(peer.name);
        }
    }
    introduce(cpu, peers, options.rounds);
    auto figures = measure(measurements(peers ? &*peers : nullptr), options.rounds);
    if (!options.pinned) {
        for (Figure& figure : figures) {
            figure.target.reset(); // targets are about the work; here waiting is measured too
        }
    }
    printTable(columns, figures, Ratio::cost);
    if (options.pinned) {
        std::cout << "Targets met: " << targetsMet(figures) << "\n\n" << std::flush;
    }
    if (options.json) {
        auto all = JSONValue::object({{"rounds", options.rounds},
                                      {"pinned", options.pinned},
                                      {"figures", asJSON(figures, Ratio::cost)}});
        if (peers) {
            all.set("node", peers->nodeVersion());
        }
        saveJSON(*options.json, options.pinned ? "transport_bench" : "transport_bench_unpinned",
                 std::move(all));
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
