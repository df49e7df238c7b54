#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::bench {

/// What every benchmark takes on its command line, so that all can be given the same.
struct Options {
    int rounds;
    bool pinned = true;
    std::optional<std::filesystem::path> json;
    std::vector<std::string> names; ///< of what is to be measured; none: everything
};

/// Whether a benchmark lets its parts be chosen by their names.
enum class Names { none, taken };

/// Reads the command line. Ends the program with a line of help where that is asked for, or due.
Options readOptions(int argumentCount, char** arguments, int rounds, Names names = Names::none);

/// Sets the member `benchmark` of the object in a file, and leaves the others as they are: all
/// benchmarks share one file. Throws std::runtime_error.
void saveJSON(const std::filesystem::path& file, const char* benchmark, MCPStdio::JSONValue value);

} // namespace velmiro::bench
