#pragma once

#include <chrono>
#include <memory>

/// Time as calendar files write it: the time that a clock shows, and separately the clock's zone.
namespace velmiro::local {

class Zone;

/// The time that a clock shows, in seconds since 1970-01-01 00:00:00 on that clock.
using CivilTime = std::chrono::local_seconds;
using CivilDay = std::chrono::local_days;

/// A point in time, counted as the system's zone data count it.
using UTCTime = std::chrono::sys_seconds;

inline CivilDay dayOf(CivilTime time) {
    return std::chrono::floor<std::chrono::days>(time);
}

/// A DATE or DATE-TIME value of a file. A date is its day at 00:00.
struct Moment {
    CivilTime civil;
    bool isDate = false;
    std::shared_ptr<const Zone> zone; ///< null: the user's own zone

    friend bool operator==(const Moment&, const Moment&) = default;
};

} // namespace velmiro::local
