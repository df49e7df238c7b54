#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"

#include "velmiro_mcp/platform/local/libraries/Locale.hpp"
#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"
#include "velmiro_mcp/platform/local/time/UserClock.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

namespace velmiro {
namespace {

using std::chrono::seconds;

/// Returns the user's zone at `instant`, as a zone of that one offset. ICU reads the machine's zone
/// only once, and cannot read a zone file without a name.
std::u16string zoneAt(Instant instant) {
    const auto civil = local::UserClock::civil(instant, nullptr).time_since_epoch();
    const seconds offset = civil - std::chrono::floor<seconds>(instant).time_since_epoch();
    const std::chrono::hh_mm_ss size{offset};
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "GMT%c%02d:%02d:%02d", size.is_negative() ? '-' : '+',
                  static_cast<int>(size.hours().count()), static_cast<int>(size.minutes().count()),
                  static_cast<int>(size.seconds().count()));
    const std::string name = text.data();
    return {name.begin(), name.end()};
}

std::string formatted(Instant instant, UDateFormatStyle time) {
    const std::u16string zone = zoneAt(instant);
    const local::ICUDates& icu = local::icuDates();
    UErrorCode status = U_ZERO_ERROR;
    UDateFormat* const format =
        icu.udat_open(time, UDAT_MEDIUM, local::userLocale().c_str(), zone.data(),
                      local::lengthOf(zone), nullptr, 0, &status);
    if (U_FAILURE(status)) {
        return {};
    }
    const auto date = static_cast<UDate>(instant.time_since_epoch().count());
    const auto text =
        local::fromICU(64, [&](char16_t* into, std::int32_t size, UErrorCode* failure) {
            return icu.udat_format(format, date, into, size, nullptr, failure);
        });
    icu.udat_close(format);
    return local::utf8(text);
}

} // namespace

std::string localizedDate(Instant instant) {
    return formatted(instant, UDAT_NONE);
}

std::string localizedDateTime(Instant instant) {
    return formatted(instant, UDAT_SHORT);
}

} // namespace velmiro
