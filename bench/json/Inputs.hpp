#pragma once

#include <string>
#include <vector>

namespace velmiro::bench {

/// A JSON text to read and write, the same in every run.
struct Input {
    std::string name;
    std::string text;
};

/// Texts that pass through a server, and texts that bring out the weak sides of a JSON library: a
/// list of tools, indented event records, coordinates of 15 to 17 digits, text in many scripts, and
/// one request of 147 bytes.
std::vector<Input> inputs();

} // namespace velmiro::bench
