#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::bench {

/// The command line of all benchmarks: they accept the same options.
struct Options {
    int rounds;
    bool pinned = true;
    std::optional<std::filesystem::path> json;
    std::vector<std::string> names; ///< of the parts to be measured; if empty, all
};

/// Whether the parts of a benchmark can be selected by name.
enum class Names { none, taken };

/// Reads the command line. If it is wrong, prints the usage and ends the program.
Options readOptions(int argumentCount, char** arguments, int rounds, Names names = Names::none);

/// Sets the member `benchmark` of the object in a file that all benchmarks share; the others stay
/// as they are. Throws std::runtime_error.
void saveJSON(const std::filesystem::path& file, const char* benchmark, MCPStdio::JSONValue value);

} // namespace velmiro::bench
