#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <algorithm>

namespace velmiro::local {
namespace {

using std::chrono::seconds;

UTCTime asUTC(CivilTime time, seconds offset) {
    return UTCTime{time.time_since_epoch()} - offset;
}

} // namespace

Zone::Zone(seconds first, std::vector<Change> changes)
    : first_{first},
      changes_{std::move(changes)} {
    std::ranges::stable_sort(changes_, {}, &Change::at);
}

Zone::Zone(const Zone& earlier, std::vector<Change> changes)
    : Zone{earlier.first_, std::move(changes)} {
    const auto continued =
        std::ranges::lower_bound(earlier.changes_, changes_.front().at, {}, &Change::at);
    changes_.insert(changes_.begin(), earlier.changes_.begin(), continued);
}

const std::shared_ptr<const Zone>& Zone::utc() {
    static const auto* const zone =
        new std::shared_ptr<const Zone>{std::make_shared<Zone>(seconds{0}, std::vector<Change>{})};
    return *zone;
}

seconds Zone::offsetAt(UTCTime time) const {
    const auto next = std::ranges::upper_bound(changes_, time, {}, &Change::at);
    return next == changes_.begin() ? first_ : std::prev(next)->offset;
}

CivilTime Zone::civil(UTCTime time) const {
    return CivilTime{(time + offsetAt(time)).time_since_epoch()};
}

UTCTime Zone::instantOf(CivilTime time) const {
    // The offsets a day before and a day after differ only if a change is between them. The right
    // one yields an instant at which the clocks do show `time`. The earlier offset is tried first.
    const seconds before = offsetAt(asUTC(time, std::chrono::days{1}));
    const seconds after = offsetAt(asUTC(time, -std::chrono::days{1}));
    for (const seconds offset : {before, after}) {
        if (offsetAt(asUTC(time, offset)) == offset) {
            return asUTC(time, offset);
        }
    }
    return asUTC(time, before);
}

} // namespace velmiro::local
