#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmiro::bench {

/// The costs of one contender for one figure, one sample a round.
struct Costs {
    std::string contender;
    std::vector<double> samples; ///< seconds or bytes; less is better
};

struct Figure;

/// A row's target on a quiet machine. A run that misses it is reported but does not fail, because
/// the machine may have been busy.
struct Target {
    enum class Bound { atMost, atLeast };

    Bound bound;
    double value;
    std::function<double(const Figure&)> reached; ///< the figure's result, compared with the value
    std::function<std::string(double)> shown;
};

/// A row of a table: the same work done by several contenders in turns. All are compared with the
/// first one.
struct Figure {
    std::string name;
    const char* unit; ///< of the samples: "seconds" or "bytes"
    /// Formats a cost for a reader: 2.5 µs, 400 k/s, 331 MB/s.
    std::function<std::string(double cost)> shown;
    std::vector<Costs> costs;
    std::optional<Target> target = std::nullopt;
};

enum class Ratio {
    speed, ///< how many times as fast as the first contender; more is better
    cost,  ///< how many times what the first contender needs; less is better
    none,  ///< absolute figures only
};

double median(std::vector<double> samples);

/// Returns the median of the ratios of all rounds. A disturbance affects both sides of its round's
/// ratio.
double medianRatio(const Figure& figure, std::size_t contender, Ratio ratio);

/// Calls `take(contender)` for each contender in each round, and starts each round with another
/// one.
void inTurns(int rounds, std::size_t contenders, const std::function<void(std::size_t)>& take);

/// Returns a number with a fixed count of digits after the point.
std::string decimal(double number, int digits);

} // namespace velmiro::bench
