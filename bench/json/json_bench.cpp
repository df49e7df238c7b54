// Reads and writes JSON with MCPStdio and with well-known libraries, in turns, in one run.
//
// A sample is the CPU time of one text, averaged over as many texts as fill a few hundredths of a
// second. A short sample meets at most a short disturbance, and the median leaves that out.

#include "bench/Figures.hpp"
#include "bench/Options.hpp"
#include "bench/System.hpp"
#include "bench/Table.hpp"
#include "bench/Targets.hpp"
#include "bench/json/Contender.hpp"
#include "bench/json/Inputs.hpp"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace {

using namespace velmiro::bench;
using MCPStdio::JSONValue;
using Contenders = std::vector<std::unique_ptr<Contender>>;

enum class Work { reading, writing };

/// Texts shorter than this are reported in time per text, longer ones in bytes per second.
constexpr double shortText = 1000;

void require(bool holds, const Contender& contender, const Input& input, const char* what) {
    if (!holds) {
        throw std::runtime_error{contender.name() + ", " + input.name + ": " + what};
    }
}

/// Checks that all contenders read the same tree, from the text and from what the first one writes,
/// and that what each of them writes is that tree.
void check(const Contenders& contenders, const Input& input) {
    const JSONValue expected = JSONValue::parse(input.text);
    contenders.front()->keep(input.text);
    const std::string ours = contenders.front()->written();
    for (const auto& contender : contenders) {
        require(contender->tree(input.text) == expected, *contender, input, "reads another tree");
        require(contender->tree(ours) == expected, *contender, input, "reads ours differently");
        if (contender->canWrite()) {
            contender->keep(input.text);
            require(JSONValue::parse(contender->written()) == expected, *contender, input,
                    "writes another tree");
        }
    }
}

double secondsFor(int count, Contender& contender, Work work, std::string_view text) {
    if (work == Work::writing) {
        contender.keep(text);
    }
    const double start = threadSeconds();
    for (int i = 0; i < count; ++i) {
        if (work == Work::reading) {
            contender.read(text);
        } else {
            contender.write();
        }
    }
    return threadSeconds() - start;
}

/// Returns how many texts make a sample.
int sampleSize(Contender& contender, Work work, std::string_view text) {
    constexpr double enough = 0.03;
    int count = 1;
    while (count < 1'000'000) {
        const double taken = secondsFor(count, contender, work, text);
        if (taken >= enough) {
            break;
        }
        count = taken < enough / 10 ? count * 8 : count * 2;
    }
    return count;
}

std::string shown(double cost, double bytes) {
    return bytes < shortText ? decimal(cost * 1e9, 0) + " ns"
                             : decimal(bytes / cost / 1e6, 0) + " MB/s";
}

/// Among trees that own their text and can be changed, ours has to be the fastest by far. For a
/// text as short as most requests the bound is 180 ns where simdjson with a tree takes 260.
Target target(Work work, double bytes) {
    if (work == Work::writing) {
        return leadAtLeast(1.2, {rapidJSONContender()->name()});
    }
    return leadAtLeast(bytes < shortText ? 260.0 / 180 : 1.3,
                       {rapidJSONContender()->name(), simdjsonTreeContender()->name()});
}

Figure measure(const Contenders& contenders, Work work, const Input& input, int rounds) {
    std::vector<Contender*> able;
    for (const auto& contender : contenders) {
        if (work == Work::reading || contender->canWrite()) {
            able.push_back(contender.get());
        }
    }
    // Speeds are in bytes of the text that is read or, for all contenders, of the text that ours
    // writes.
    contenders.front()->keep(input.text);
    const auto bytes = static_cast<double>(
        work == Work::reading ? input.text.size() : contenders.front()->written().size());
    const auto put = [bytes](double cost) { return shown(cost, bytes); };
    Figure figure{input.name, "seconds", put, {}, target(work, bytes)};
    std::vector<int> counts;
    counts.reserve(able.size());
    for (Contender* contender : able) {
        figure.costs.push_back({contender->name(), {}});
        counts.push_back(sampleSize(*contender, work, input.text));
    }
    inTurns(rounds, able.size(), [&](std::size_t i) {
        figure.costs[i].samples.push_back(secondsFor(counts[i], *able[i], work, input.text) /
                                          counts[i]);
    });
    return figure;
}

std::vector<Figure> measureAll(const Contenders& contenders, Work work,
                               const std::vector<Input>& texts, int rounds) {
    std::vector<Figure> figures;
    for (const Input& text : texts) {
        figures.push_back(measure(contenders, work, text, rounds));
    }
    return figures;
}

void run(const Options& options) {
    std::cout << "json_bench: JSON against nlohmann-json, RapidJSON and simdjson, CPU time";
    if (options.pinned) {
        std::cout << " on CPU " << stayOnOneCPU();
    }
    std::cout << "\nRatios are speeds, MCPStdio = 1.00, higher is faster; medians of "
              << options.rounds << " rounds.\n\n";

    Contenders contenders;
    contenders.push_back(mcpStdioContender());
    contenders.push_back(nlohmannContender());
    contenders.push_back(rapidJSONContender());
    contenders.push_back(simdjsonTreeContender());
    contenders.push_back(simdjsonContender());
    const std::vector<Input> texts = inputs();
    for (const Input& text : texts) {
        check(contenders, text);
        std::cout << text.name << ": " << text.text.size() << " bytes\n";
    }
    std::cout << '\n';
    std::vector<std::string> columns;
    std::ranges::transform(contenders, std::back_inserter(columns), &Contender::name);

    std::cout << "Reading: a text becomes a tree, which is freed. All trees but the last own their "
                 "text\nand can be changed. RapidJSON: exact numbers, UTF-8 checked. simdjson: one "
                 "parser for\nall texts; + tree: its document turned into standard strings and "
                 "vectors.\n";
    const auto reading = measureAll(contenders, Work::reading, texts, options.rounds);
    printTable(columns, reading, Ratio::speed);

    std::cout << "Writing: a tree becomes a compact text, which is freed. simdjson: from its "
                 "read-only document.\n";
    std::erase(columns, simdjsonTreeContender()->name());
    const auto writing = measureAll(contenders, Work::writing, texts, options.rounds);
    printTable(columns, writing, Ratio::speed);

    auto all = reading;
    all.insert(all.end(), writing.begin(), writing.end());
    std::cout << "Targets met: " << targetsMet(all) << "\n\n" << std::flush;

    if (options.json) {
        saveJSON(*options.json, "json_bench",
                 JSONValue::object({{"rounds", options.rounds},
                                    {"pinned", options.pinned},
                                    {"reading", asJSON(reading, Ratio::speed)},
                                    {"writing", asJSON(writing, Ratio::speed)}}));
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        run(readOptions(argumentCount, arguments, 9));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "json_bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
