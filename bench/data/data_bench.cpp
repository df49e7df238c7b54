// Asks the server about a user's data, and other programs of the same use about the same files. All
// must find the same things, which are those that the files were made to contain.

#include "bench/Figures.hpp"
#include "bench/Options.hpp"
#include "bench/System.hpp"
#include "bench/Table.hpp"
#include "bench/Targets.hpp"
#include "bench/data/ServerSession.hpp"
#include "bench/data/Timing.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace {

using namespace velmiro::bench;
using MCPStdio::JSONValue;

constexpr std::array datasets{
    Dataset{"calendar", 10'000, makeCalendar}, Dataset{"reminders", 10'000, makeReminders},
    Dataset{"contacts", 20'000, makeContacts}, Dataset{"mail", 20'000, makeMail},
    Dataset{"notes", 5'000, makeNotes},        Dataset{"few", 200, makeFew},
    Dataset{"hostile", 13, makeHostile},
};

/// A turn that takes this many seconds hangs; SIGALRM then ends the benchmark.
constexpr unsigned tooLong = 600;
constexpr std::size_t furtherCalls = 9;
constexpr std::size_t furtherRuns = 3;

Timing timeRival(const Question& question) {
    const Rival& rival = question.rival;
    double before = 0;
    const auto run = [&] {
        const std::string output = outputOf(rival.command);
        const double taken = seconds() - before;
        require(rival.read(output), question, rival.name);
        return taken;
    };
    std::filesystem::remove_all(rival.cache);
    before = seconds();
    if (!rival.makeCache.empty()) {
        outputOf(rival.makeCache);
    }
    const double first = run();
    if (!rival.cache.empty() && !std::filesystem::exists(rival.cache)) {
        throw std::runtime_error{rival.name + " keeps nothing at " + rival.cache.string()};
    }
    std::vector<double> further(furtherRuns);
    std::ranges::generate(further, [&] {
        before = seconds();
        return run();
    });
    return {first, median(std::move(further))};
}

std::string milliseconds(double cost) {
    return decimal(cost * 1e3, 1) + " ms";
}

std::string megabytes(double bytes) {
    return decimal(bytes / 1e6, 1) + " MB";
}

Figure memoryOf(const Question& question) {
    Figure figure{"a further call: peak memory",
                  "bytes",
                  megabytes,
                  {{"velmiro_mcp", {peakOfCall(question)}}}};
    figure.target = medianAtMost(*question.mostMemory, megabytes);
    return figure;
}

/// Asks in turns. A rival's run with its database is compared both with a new server, which has
/// kept nothing, and with one that is running.
std::vector<Figure> ask(const Question& question, int rounds) {
    const auto figure = [&](const char* name) {
        return Figure{
            name, "seconds", milliseconds, {{"velmiro_mcp", {}}, {question.rival.name, {}}}};
    };
    Figure withoutCache = figure("nothing kept from before");
    Figure newProcess = figure("a new server");
    Figure running = figure("a server that runs");
    inTurns(rounds, 2, [&](std::size_t contender) {
        ::alarm(tooLong);
        const auto [first, further] =
            contender == 0 ? timeServer(question, furtherCalls) : timeRival(question);
        withoutCache.costs[contender].samples.push_back(first);
        newProcess.costs[contender].samples.push_back(contender == 0 ? first : further);
        running.costs[contender].samples.push_back(further);
    });
    ::alarm(0);
    if (question.mostTimes) {
        running.target = multipleAtMost(*question.mostTimes, question.rival.name);
    }
    std::vector<Figure> figures;
    if (!question.rival.cache.empty()) {
        figures.push_back(std::move(withoutCache));
    }
    figures.push_back(std::move(newProcess));
    figures.push_back(std::move(running));
    if (question.mostMemory) {
        figures.push_back(memoryOf(question));
    }
    return figures;
}

JSONValue run(const Dataset& chosen, int rounds) {
    const Home home;
    const auto questions = chosen.make(home, chosen.items);
    home.settle();
    auto measured = JSONValue::array();
    for (const Question& question : questions) {
        std::cout << question.title << " (" << question.tool << ")\n" << std::flush;
        const auto figures = ask(question, rounds);
        printTable({"velmiro_mcp", question.rival.name}, figures, Ratio::cost);
        measured.append(JSONValue::object(
            {{"question", question.title}, {"figures", asJSON(figures, Ratio::cost)}}));
    }
    return measured;
}

std::vector<Dataset> datasetsNamed(const std::vector<std::string>& names) {
    if (names.empty()) {
        return {datasets.begin(), datasets.end()};
    }
    std::vector<Dataset> chosen;
    for (const std::string& name : names) {
        const auto* const found = std::ranges::find(datasets, name, &Dataset::name);
        if (found == datasets.end()) {
            throw std::runtime_error{"no data named " + name};
        }
        chosen.push_back(*found);
    }
    return chosen;
}

void runAll(const Options& options) {
    const auto chosen = datasetsNamed(options.names);
    std::cout << "data_bench: a user's data in files, which the system has in memory, as the "
                 "server and\nother programs answer of them. ";
    if (options.pinned) {
        std::cout << "All on CPU " << stayOnOneCPU() << ".\n";
    } else {
        std::cout << "On any CPU.\n";
    }
    std::cout << "Ratios are costs, velmiro_mcp = 1.00, lower is better; medians of "
              << options.rounds << " rounds.\n\n"
              << std::flush;
    ::signal(SIGPIPE, SIG_IGN);
    ::setenv("TZ", "Europe/Berlin", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    auto measured = JSONValue::object();
    for (const Dataset& one : chosen) {
        measured.set(one.name, run(one, options.rounds));
    }
    if (options.json) {
        saveJSON(*options.json, "data_bench",
                 JSONValue::object({{"rounds", options.rounds},
                                    {"pinned", options.pinned},
                                    {"data", std::move(measured)}}));
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        runAll(readOptions(argumentCount, arguments, 3, Names::taken));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "data_bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
