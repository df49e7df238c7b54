#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <cstddef>

namespace velmiro::local {
namespace {

using std::chrono::seconds;
using std::chrono::year_month_day;

constexpr std::size_t mostRemembered = 100'000;

template <typename Map>
void remember(Map& map, std::int64_t key, Instant value) {
    if (map.size() >= mostRemembered) {
        map.clear();
    }
    map.emplace(key, value);
}

} // namespace

Instant UserClock::instantOf(const Moment& moment) {
    if (moment.isDate) {
        return startOf(dayOf(moment.civil));
    }
    return moment.zone ? Instant{moment.zone->instantOf(moment.civil)} : timeOf(moment.civil);
}

Instant UserClock::startOf(CivilDay day) {
    const std::int64_t key = day.time_since_epoch().count();
    if (const auto known = days_.find(key); known != days_.end()) {
        return known->second;
    }
    const year_month_day date{day};
    const Instant found = startOfDay(int{date.year()}, static_cast<int>(unsigned{date.month()}),
                                     static_cast<int>(unsigned{date.day()}));
    remember(days_, key, found);
    return found;
}

Instant UserClock::timeOf(CivilTime time) {
    const std::int64_t key = time.time_since_epoch().count();
    if (const auto known = times_.find(key); known != times_.end()) {
        return known->second;
    }
    const CivilDay day = dayOf(time);
    const year_month_day date{day};
    const std::chrono::hh_mm_ss shown{time - day};
    const Instant found = velmiro::instantOf(
        {int{date.year()}, static_cast<int>(unsigned{date.month()}),
         static_cast<int>(unsigned{date.day()}), static_cast<int>(shown.hours().count()),
         static_cast<int>(shown.minutes().count()), static_cast<int>(shown.seconds().count())});
    remember(times_, key, found);
    return found;
}

CivilTime UserClock::civil(Instant instant, const Zone* zone) {
    if (zone != nullptr) {
        return zone->civil(std::chrono::floor<seconds>(instant));
    }
    const WallTime shown = wallTime(instant);
    return CivilDay{std::chrono::year{shown.year} /
                    std::chrono::month{static_cast<unsigned>(shown.month)} /
                    std::chrono::day{static_cast<unsigned>(shown.day)}} +
           std::chrono::hours{shown.hour} + std::chrono::minutes{shown.minute} +
           seconds{shown.second};
}

} // namespace velmiro::local
