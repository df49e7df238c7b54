// How the server scales with pending calls and with the amount of data. Everything runs through
// real programs and pipes, and every reply is checked.

#include "bench/Options.hpp"
#include "bench/System.hpp"
#include "bench/Table.hpp"
#include "bench/scale/Series.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

using namespace velmiro::bench;
using MCPStdio::JSONValue;

constexpr std::array parts{Part{"ping", measurePing}, Part{"memory", measureMemory},
                           Part{"calendar", measureCalendar}, Part{"mail", measureMail}};

std::vector<Part> partsNamed(const std::vector<std::string>& names) {
    if (names.empty()) {
        return {parts.begin(), parts.end()};
    }
    std::vector<Part> chosen;
    for (const std::string& name : names) {
        const auto* const found = std::ranges::find(parts, std::string_view{name}, &Part::name);
        if (found == parts.end()) {
            throw std::runtime_error{"no part named " + name};
        }
        chosen.push_back(*found);
    }
    return chosen;
}

void run(const Options& options) {
    const auto chosen = partsNamed(options.names);
    std::cout << "scale_bench: servers over pipes with ever more to do. ";
    if (options.pinned) {
        std::cout << "All on CPU " << stayOnOneCPU() << ".\n";
    } else {
        std::cout << "On any CPU.\n";
    }
    std::cout << "Ratios are costs against the first column, lower is better; medians of "
              << options.rounds << " rounds.\n\n"
              << std::flush;
    ::signal(SIGPIPE, SIG_IGN); // if a server has ended, the write fails instead
    ::setenv("TZ", "Europe/Berlin", 1);
    ::setenv("LC_ALL", "C.UTF-8", 1);
    auto measured = JSONValue::object();
    for (const Part& part : chosen) {
        auto tables = JSONValue::array();
        for (const Report& report : part.measure(options.rounds)) {
            print(report);
            tables.append(asJSON(report));
        }
        measured.set(part.name, std::move(tables));
    }
    if (options.json) {
        saveJSON(*options.json, "scale_bench",
                 JSONValue::object({{"rounds", options.rounds},
                                    {"pinned", options.pinned},
                                    {"parts", std::move(measured)}}));
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        run(readOptions(argumentCount, arguments, 3, Names::taken));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "scale_bench: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
