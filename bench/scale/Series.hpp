#pragma once

#include "bench/Figures.hpp"
#include "bench/Table.hpp"
#include "bench/Targets.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What is measured at growing counts, and how it is printed.
namespace velmiro::bench {

/// What something costs with so many calls pending, or with so many items.
struct Point {
    int count;
    std::vector<double> samples; ///< one a round
};

/// One row of a table. The first point is the one that all are compared with.
struct Series {
    std::string name;
    const char* unit; ///< of the samples: "seconds", "bytes" or "threads"
    std::function<std::string(double cost)> shown;
    std::vector<Point> points = {};
    std::optional<Target> target = std::nullopt; ///< columns are named as by `columnOf`
};

struct Report {
    std::string title;
    Ratio ratio;
    std::vector<Series> series = {};
    std::vector<std::string> leftOut = {}; ///< what was not measured, and why
};

/// What can be chosen by name.
struct Part {
    const char* name;
    std::vector<Report> (*measure)(int rounds);
};

std::vector<Report> measurePing(int rounds);
std::vector<Report> measureMemory(int rounds);
std::vector<Report> measureCalendar(int rounds);
std::vector<Report> measureMail(int rounds);

/// The head of a column, which is a contender of the figures that targets look at.
std::string columnOf(int count);

void print(const Report& report);
MCPStdio::JSONValue asJSON(const Report& report);

std::string milliseconds(double cost);
std::string microseconds(double cost);

} // namespace velmiro::bench
