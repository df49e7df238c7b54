#include "bench/Table.hpp"

#include "bench/Targets.hpp"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

/// Returns the width of a text in columns, if each character takes one.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

/// Returns a ratio with three digits, at most two of them after the point: 0.96, 1.15, 21.4, 302.
std::string shortened(double ratio) {
    return decimal(ratio, ratio < 10 ? 2 : ratio < 100 ? 1 : 0);
}

std::string cell(const Figure& figure, const std::string& column, Ratio ratio) {
    const auto at = std::ranges::find(figure.costs, column, &Costs::contender);
    if (at == figure.costs.end()) {
        return "-";
    }
    std::string absolute = figure.shown(median(at->samples));
    if (ratio == Ratio::none) {
        return absolute;
    }
    const auto contender = static_cast<std::size_t>(at - figure.costs.begin());
    return shortened(medianRatio(figure, contender, ratio)) + " [" + absolute + "]";
}

} // namespace

void printTable(const std::vector<std::string>& columns, const std::vector<Figure>& figures,
                Ratio ratio) {
    const bool judged = std::ranges::any_of(
        figures, [](const Figure& figure) { return figure.target.has_value(); });
    std::vector<std::vector<std::string>> rows{{""}};
    rows.front().insert(rows.front().end(), columns.begin(), columns.end());
    if (judged) {
        rows.front().emplace_back("target");
    }
    for (const Figure& figure : figures) {
        auto& row = rows.emplace_back(1, figure.name);
        for (const std::string& column : columns) {
            row.push_back(cell(figure, column, ratio));
        }
        if (judged) {
            row.push_back(figure.target ? verdict(figure) : "");
        }
    }
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] + 2 - widthOf(row[i]), ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << "  " << line << '\n';
    }
    std::cout << '\n' << std::flush; // each table appears when it is done, also in a pipe
}

JSONValue asJSON(const std::vector<Figure>& figures, Ratio ratio) {
    auto all = JSONValue::array();
    for (const Figure& figure : figures) {
        auto contenders = JSONValue::array();
        for (std::size_t i = 0; i < figure.costs.size(); ++i) {
            const Costs& costs = figure.costs[i];
            auto samples = JSONValue::array();
            for (const double sample : costs.samples) {
                samples.append(sample);
            }
            contenders.append(JSONValue::object({
                {"name", costs.contender},
                {"ratio", medianRatio(figure, i, ratio)},
                {"median", median(costs.samples)},
                {"shown", figure.shown(median(costs.samples))},
                {"samples", std::move(samples)},
            }));
        }
        auto row = JSONValue::object({
            {"name", figure.name},
            {"unit", figure.unit},
            {"ratio", ratio == Ratio::speed ? "speed" : "cost"},
            {"contenders", std::move(contenders)},
        });
        if (figure.target) {
            row.set("target", targetAsJSON(figure));
        }
        all.append(std::move(row));
    }
    return all;
}

} // namespace velmiro::bench
