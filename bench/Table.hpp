#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "bench/Figures.hpp"

#include <string>
#include <vector>

namespace velmiro::bench {

/// Prints the ratios, if any, with the medians of the absolute figures in brackets, and the results
/// of targets in the last column. Every contender of every figure is one of `columns`.
void printTable(const std::vector<std::string>& columns, const std::vector<Figure>& figures,
                Ratio ratio);

MCPStdio::JSONValue asJSON(const std::vector<Figure>& figures, Ratio ratio);

} // namespace velmiro::bench
