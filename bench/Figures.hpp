#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::bench {

/// What one contender needed for one thing, round by round.
struct Costs {
    std::string contender;
    std::vector<double> samples; ///< seconds or bytes: less is better
};

struct Figure;

/// A row's target on a quiet machine. A run that misses it is reported, but not a failure: the
/// machine may have been busy.
struct Target {
    enum class Bound { atMost, atLeast };

    Bound bound;
    double value;
    std::function<double(const Figure&)> reached; ///< what is held against the value
    std::function<std::string(double)> shown;
};

/// One row of a table: one thing, done by several contenders in turns. The first of them is the one
/// that all are compared with.
struct Figure {
    std::string name;
    const char* unit; ///< of the samples: "seconds" or "bytes"
    /// How a reader would put a cost: 2.5 µs, 400 k/s, 331 MB/s.
    std::function<std::string(double cost)> shown;
    std::vector<Costs> costs;
    std::optional<Target> target = std::nullopt;
};

enum class Ratio {
    speed, ///< how many times as fast as the first contender: more is better
    cost,  ///< how many times what the first contender needs: less is better
    none,  ///< the figures stand for themselves
};

double median(std::vector<double> samples);

/// The median of the ratios of each round. What disturbs a round disturbs both sides of it.
double medianRatio(const Figure& figure, std::size_t contender, Ratio ratio);

/// Calls `take(contender)` for each contender in each round; who begins changes from round to
/// round.
void inTurns(int rounds, std::size_t contenders, const std::function<void(std::size_t)>& take);

/// A number with a fixed count of digits behind the point.
std::string decimal(double number, int digits);

} // namespace velmiro::bench
