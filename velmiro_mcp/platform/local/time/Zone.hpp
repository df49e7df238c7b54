#pragma once

#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <chrono>
#include <memory>
#include <vector>

namespace velmiro::local {

/// The clocks of one region: their offset from UTC, and when it changes. Immutable.
class Zone {
public:
    struct Change {
        UTCTime at;
        std::chrono::seconds offset; ///< from `at` on
    };

    /// Changes are computed up to the end of this year. The last offset applies from then on.
    static constexpr int lastYear = 2199;

    /// Accepts `changes` in any order. Of several at the same instant the last counts. `first` is
    /// the offset before all of them.
    Zone(std::chrono::seconds first, std::vector<Change> changes);

    /// Follows `earlier` until the first of `changes`, then `changes`. There must be at least one.
    Zone(const Zone& earlier, std::vector<Change> changes);

    static const std::shared_ptr<const Zone>& utc();

    [[nodiscard]] std::chrono::seconds offsetAt(UTCTime time) const;

    /// Returns the time that the clocks show.
    [[nodiscard]] CivilTime civil(UTCTime time) const;

    /// Returns when the clocks show `time`, or the first such instant if there are two. A time that
    /// they skip is converted with the offset from before the gap.
    [[nodiscard]] UTCTime instantOf(CivilTime time) const;

private:
    std::chrono::seconds first_;
    std::vector<Change> changes_;
};

} // namespace velmiro::local
