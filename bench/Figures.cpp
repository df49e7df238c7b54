#include "bench/Figures.hpp"

#include <algorithm>
#include <sstream>
#include <utility>

namespace velmiro::bench {

double median(std::vector<double> samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::ranges::nth_element(samples, middle);
    if (samples.size() % 2 == 1) {
        return *middle;
    }
    return (*middle + *std::max_element(samples.begin(), middle)) / 2;
}

double medianRatio(const Figure& figure, std::size_t contender, Ratio ratio) {
    const auto& first = figure.costs.front().samples;
    const auto& other = figure.costs[contender].samples;
    std::vector<double> ratios(first.size());
    for (std::size_t round = 0; round < ratios.size(); ++round) {
        ratios[round] =
            ratio == Ratio::speed ? first[round] / other[round] : other[round] / first[round];
    }
    return median(std::move(ratios));
}

void inTurns(int rounds, std::size_t contenders, const std::function<void(std::size_t)>& take) {
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < contenders; ++i) {
            take((static_cast<std::size_t>(round) + i) % contenders);
        }
    }
}

std::string decimal(double number, int digits) {
    std::ostringstream text;
    text.setf(std::ios::fixed);
    text.precision(digits);
    text << number;
    return text.str();
}

} // namespace velmiro::bench
