#include "bench/Targets.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace velmiro::bench {

using MCPStdio::JSONValue;

namespace {

std::string asRatio(double ratio) {
    return decimal(ratio, 2);
}

/// Returns the highest ratio of these contenders in a figure; infinite if none of them is in it,
/// since a target that was not checked is not met.
double highestRatio(const Figure& figure, const std::vector<std::string>& contenders, Ratio ratio) {
    double highest = 0;
    for (std::size_t i = 0; i < figure.costs.size(); ++i) {
        if (std::ranges::count(contenders, figure.costs[i].contender) > 0) {
            highest = std::max(highest, medianRatio(figure, i, ratio));
        }
    }
    return highest > 0 ? highest : std::numeric_limits<double>::infinity();
}

bool isMet(const Target& target, double reached) {
    return target.bound == Target::Bound::atMost ? reached <= target.value
                                                 : reached >= target.value;
}

} // namespace

Target costAtMost(double ratio, std::vector<std::string> contenders) {
    return {Target::Bound::atMost, ratio,
            [contenders = std::move(contenders)](const Figure& figure) {
                return highestRatio(figure, contenders, Ratio::cost);
            },
            asRatio};
}

Target multipleAtMost(double times, std::string other) {
    return {Target::Bound::atMost, times,
            [other = std::vector{std::move(other)}](const Figure& figure) {
                return highestRatio(figure, other, Ratio::speed);
            },
            asRatio};
}

Target leadAtLeast(double times, std::vector<std::string> rivals) {
    return {Target::Bound::atLeast, times,
            [rivals = std::move(rivals)](const Figure& figure) {
                return 1 / highestRatio(figure, rivals, Ratio::speed);
            },
            asRatio};
}

Target medianAtMost(double cost, std::function<std::string(double)> shown) {
    return {Target::Bound::atMost, cost,
            [](const Figure& figure) { return median(figure.costs.front().samples); },
            std::move(shown)};
}

std::string verdict(const Figure& figure) {
    const Target& target = *figure.target;
    const double reached = target.reached(figure);
    return target.shown(reached) + (target.bound == Target::Bound::atMost ? " ≤ " : " ≥ ") +
           target.shown(target.value) + (isMet(target, reached) ? " ✓" : " ✗");
}

std::string targetsMet(const std::vector<Figure>& figures) {
    int all = 0;
    int met = 0;
    for (const Figure& figure : figures) {
        if (figure.target) {
            ++all;
            met += isMet(*figure.target, figure.target->reached(figure)) ? 1 : 0;
        }
    }
    return std::to_string(met) + " of " + std::to_string(all);
}

JSONValue targetAsJSON(const Figure& figure) {
    const Target& target = *figure.target;
    const double reached = target.reached(figure);
    return JSONValue::object({
        {target.bound == Target::Bound::atMost ? "atMost" : "atLeast", target.value},
        {"reached", reached},
        {"met", isMet(target, reached)},
    });
}

} // namespace velmiro::bench
