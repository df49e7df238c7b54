#pragma once

#include "bench/Figures.hpp"
#include "bench/Table.hpp"
#include "bench/Targets.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Measurements at growing counts, and how they are printed.
namespace velmiro::bench {

/// The costs with that many pending calls, or that many items.
struct Point {
    int count;
    std::vector<double> samples; ///< one a round
};

/// A row of a table. All points are compared with the first one.
struct Series {
    std::string name;
    const char* unit; ///< of the samples: "seconds", "bytes" or "threads"
    std::function<std::string(double cost)> shown;
    std::vector<Point> points = {};
    std::optional<Target> target = std::nullopt; ///< names columns as `columnOf` does
};

struct Report {
    std::string title;
    Ratio ratio;
    std::vector<Series> series = {};
    std::vector<std::string> leftOut = {}; ///< what was not measured, and why
};

/// A part of the benchmark that can be selected by name.
struct Part {
    const char* name;
    std::vector<Report> (*measure)(int rounds);
};

std::vector<Report> measurePing(int rounds);
std::vector<Report> measureMemory(int rounds);
std::vector<Report> measureCalendar(int rounds);
std::vector<Report> measureMail(int rounds);

/// Returns the head of a column, which is also the contender that targets name.
std::string columnOf(int count);

void print(const Report& report);
MCPStdio::JSONValue asJSON(const Report& report);

std::string milliseconds(double cost);
std::string microseconds(double cost);

} // namespace velmiro::bench
