#include "velmiro_mcp/platform/local/calendars/Exclusions.hpp"

#include <algorithm>

namespace velmiro::local {

void Exclusions::add(const Moment& moment) {
    constexpr std::chrono::days slack{2};
    if (moment.civil < from_ - slack || moment.civil > to_ + slack || !budget_.spend()) {
        return;
    }
    if (moment.isDate) {
        days_.push_back(dayOf(moment.civil));
    } else {
        instants_.push_back(clock_.instantOf(moment));
    }
}

void Exclusions::addAllFrom(const Moment& moment) {
    const Instant start = clock_.instantOf(moment);
    allFrom_ = std::min(allFrom_.value_or(start), start);
}

void Exclusions::finish() {
    std::ranges::sort(instants_);
    std::ranges::sort(days_);
}

bool Exclusions::contains(Instant start, CivilTime civil) const {
    return (allFrom_ && start >= *allFrom_) || std::ranges::binary_search(instants_, start) ||
           std::ranges::binary_search(days_, dayOf(civil));
}

} // namespace velmiro::local
