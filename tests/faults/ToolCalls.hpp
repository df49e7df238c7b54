#pragma once

#include "tests/faults/SampleHome.hpp"

#include <string>
#include <vector>

namespace velmiro::test {

/// One call of a tool, on data of which it needs something.
struct ToolCall {
    std::string name; ///< of letters, digits and underscores
    std::string tool;
    std::string arguments;
    SampleHome::Filling filling = SampleHome::Filling::full;
    bool changes = false;  ///< it changes data if the user allows it
    bool isScript = false; ///< a script does the work, in a program of its own
};

/// Returns calls of every tool.
const std::vector<ToolCall>& toolCalls();

/// Returns those that change data.
std::vector<ToolCall> changingCalls();

/// How a file system behaves that lacks something.
struct FileSystem {
    std::string name;
    int exchangeError = 0; ///< errno if two names cannot be exchanged
    int namelessError = 0; ///< errno if there are no files without names
};

/// Returns one that has all, and those that lack something.
const std::vector<FileSystem>& fileSystems();

/// Returns whether a sample of the cases is wanted, not all.
bool isSlice();

} // namespace velmiro::test
