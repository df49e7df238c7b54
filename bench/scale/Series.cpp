#include "bench/scale/Series.hpp"

#include "bench/Table.hpp"
#include "bench/data/Items.hpp"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

/// Returns a row whose contenders are the counts.
Figure rowOf(const Series& series) {
    Figure row{series.name, series.unit, series.shown, {}, series.target};
    for (const Point& point : series.points) {
        row.costs.push_back({columnOf(point.count), point.samples});
    }
    return row;
}

JSONValue asJSON(const Series& series) {
    auto points = JSONValue::array();
    for (const Point& point : series.points) {
        auto samples = JSONValue::array();
        for (const double sample : point.samples) {
            samples.append(sample);
        }
        points.append(JSONValue::object({
            {"count", point.count},
            {"value", median(point.samples)},
            {"samples", std::move(samples)},
        }));
    }
    auto row = JSONValue::object(
        {{"name", series.name}, {"unit", series.unit}, {"series", std::move(points)}});
    if (series.target) {
        row.set("target", targetAsJSON(rowOf(series)));
    }
    return row;
}

} // namespace

std::string columnOf(int count) {
    return count == 0 ? "none" : counted(count);
}

void print(const Report& report) {
    std::cout << report.title << '\n';
    std::vector<int> counts;
    std::vector<Figure> rows;
    for (const Series& series : report.series) {
        for (const Point& point : series.points) {
            counts.push_back(point.count);
        }
        rows.push_back(rowOf(series));
    }
    std::ranges::sort(counts);
    const auto repeated = std::ranges::unique(counts);
    counts.erase(repeated.begin(), repeated.end());
    std::vector<std::string> columns;
    std::ranges::transform(counts, std::back_inserter(columns), columnOf);
    printTable(columns, rows, report.ratio);
    for (const std::string& reason : report.leftOut) {
        std::cout << "  left out: " << reason << '\n';
    }
    if (!report.leftOut.empty()) {
        std::cout << '\n' << std::flush;
    }
}

JSONValue asJSON(const Report& report) {
    auto figures = JSONValue::array();
    for (const Series& series : report.series) {
        figures.append(asJSON(series));
    }
    auto leftOut = JSONValue::array();
    for (const std::string& reason : report.leftOut) {
        leftOut.append(reason);
    }
    return JSONValue::object({{"title", report.title},
                              {"figures", std::move(figures)},
                              {"left_out", std::move(leftOut)}});
}

std::string milliseconds(double cost) {
    return decimal(cost * 1e3, 1) + " ms";
}

std::string microseconds(double cost) {
    return decimal(cost * 1e6, 1) + " µs";
}

} // namespace velmiro::bench
