#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "bench/Figures.hpp"

#include <functional>
#include <string>
#include <vector>

namespace velmiro::bench {

/// The highest cost ratio of these contenders is at most this.
Target costAtMost(double ratio, std::vector<std::string> contenders);

/// The first contender costs at most this many times what another one does.
Target multipleAtMost(double times, std::string other);

/// The first contender is at least `times` times as fast as the fastest of these.
Target leadAtLeast(double times, std::vector<std::string> rivals);

/// The first contender's median is at most this.
Target medianAtMost(double cost, std::function<std::string(double)> shown);

/// Returns the result of a figure that has a target: 1.15 ≤ 1.35 ✓
std::string verdict(const Figure& figure);

/// Returns how many of the figures with a target met it: 14 of 17
std::string targetsMet(const std::vector<Figure>& figures);

MCPStdio::JSONValue targetAsJSON(const Figure& figure);

} // namespace velmiro::bench
