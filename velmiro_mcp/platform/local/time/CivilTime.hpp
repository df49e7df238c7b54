#pragma once

#include <chrono>
#include <memory>

/// Time as calendar files write it: what a clock shows, and apart from that, where the clock hangs.
namespace velmiro::local {

class Zone;

/// What some clock shows, counted in seconds from 1970-01-01 00:00:00 on that clock.
using CivilTime = std::chrono::local_seconds;
using CivilDay = std::chrono::local_days;

/// A point in time as the system's zone data count it.
using UTCTime = std::chrono::sys_seconds;

inline CivilDay dayOf(CivilTime time) {
    return std::chrono::floor<std::chrono::days>(time);
}

/// A DATE or DATE-TIME value as a file holds it. A date is its day at 00:00.
struct Moment {
    CivilTime civil;
    bool isDate = false;
    std::shared_ptr<const Zone> zone; ///< null: whatever zone the user is in

    friend bool operator==(const Moment&, const Moment&) = default;
};

} // namespace velmiro::local
