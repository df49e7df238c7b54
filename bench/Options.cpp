#include "bench/Options.hpp"

#include "MCPStdio/json/JSONWriter.hpp"

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

Options readOptions(int argumentCount, char** arguments, int rounds, Names names) {
    Options options{rounds, true, std::nullopt, {}};
    for (int i = 1; i < argumentCount; ++i) {
        const std::string_view option{arguments[i]};
        const bool hasValue = i + 1 < argumentCount;
        if (option == "--unpinned") {
            options.pinned = false;
        } else if (option == "--json" && hasValue) {
            options.json = arguments[++i];
        } else if (option == "--rounds" && hasValue) {
            const std::string_view number{arguments[++i]};
            std::from_chars(number.data(), number.data() + number.size(), options.rounds);
        } else if (names == Names::taken && !option.starts_with('-')) {
            options.names.emplace_back(option);
        } else {
            options.rounds = 0;
        }
    }
    if (options.rounds < 1) {
        std::cerr << "usage: " << arguments[0] << (names == Names::taken ? " [NAME]..." : "")
                  << " [--rounds N] [--unpinned] [--json FILE]\n";
        std::exit(EXIT_FAILURE);
    }
    return options;
}

void saveJSON(const std::filesystem::path& file, const char* benchmark, JSONValue value) {
    JSONValue all = JSONValue::object();
    if (const std::ifstream existing{file}; existing) {
        std::ostringstream text;
        text << existing.rdbuf();
        all = JSONValue::parse(text.view());
        if (!all.objectValue()) {
            throw std::runtime_error{file.string() + " holds something else"};
        }
    }
    all.set(benchmark, std::move(value));
    std::ofstream output{file};
    output << MCPStdio::JSONWriter{MCPStdio::JSONWriter::Form::pretty}.write(all) << '\n';
    if (!output.flush()) {
        throw std::runtime_error{"cannot write " + file.string()};
    }
}

} // namespace velmiro::bench
