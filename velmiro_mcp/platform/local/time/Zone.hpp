#pragma once

#include "velmiro_mcp/platform/local/time/CivilTime.hpp"

#include <chrono>
#include <memory>
#include <vector>

namespace velmiro::local {

/// The clocks of one region: how far they are from UTC, and when that changes. Immutable.
class Zone {
public:
    struct Change {
        UTCTime at;
        std::chrono::seconds offset; ///< from `at` on
    };

    /// Changes are made up to the end of this year; from then on the last offset stays.
    static constexpr int lastYear = 2199;

    /// `changes` in any order, of those at one moment the last counting; `first` holds before all.
    Zone(std::chrono::seconds first, std::vector<Change> changes);

    /// The clocks of `earlier` until the first of `changes`, of which there is at least one; those
    /// changes from then on.
    Zone(const Zone& earlier, std::vector<Change> changes);

    static const std::shared_ptr<const Zone>& utc();

    [[nodiscard]] std::chrono::seconds offsetAt(UTCTime time) const;

    /// What the clocks show.
    [[nodiscard]] CivilTime civil(UTCTime time) const;

    /// When the clocks show `time`: the first such instant where there are two; where they skip
    /// it, as if the offset before the gap went on.
    [[nodiscard]] UTCTime instantOf(CivilTime time) const;

private:
    std::chrono::seconds first_;
    std::vector<Change> changes_;
};

} // namespace velmiro::local
