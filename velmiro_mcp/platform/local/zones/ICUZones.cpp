#include "velmiro_mcp/platform/local/zones/ICUZones.hpp"

#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace velmiro::local {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Returns the name in UTF-16, or `nullopt` if it is not ASCII and so names no zone.
std::optional<std::u16string> asciiName(std::string_view name) {
    std::u16string wide;
    for (const char letter : name) {
        if (letter < ' ' || letter > '~') {
            return std::nullopt;
        }
        wide.push_back(static_cast<char16_t>(letter));
    }
    return wide;
}

UTCTime timeOf(UDate date) {
    return std::chrono::floor<seconds>(
        std::chrono::sys_time<milliseconds>{milliseconds{static_cast<std::int64_t>(date)}});
}

UDate dateOf(UTCTime time) {
    return static_cast<UDate>(time.time_since_epoch().count()) * 1000;
}

/// Returns the offset at the time to which the calendar is set.
seconds offsetOf(UCalendar* calendar, UErrorCode& status) {
    return std::chrono::floor<seconds>(
        milliseconds{icuDates().ucal_get(calendar, UCAL_ZONE_OFFSET, &status) +
                     icuDates().ucal_get(calendar, UCAL_DST_OFFSET, &status)});
}

} // namespace

std::string zoneNameOfWindows(std::string_view name) {
    const auto wide = asciiName(name);
    if (!wide) {
        return {};
    }
    const auto found = fromICU(64, [&](char16_t* into, std::int32_t size, UErrorCode* status) {
        return icuDates().ucal_getTimeZoneIDForWindowsID(wide->data(), lengthOf(*wide), nullptr,
                                                         into, size, status);
    });
    return {found.begin(), found.end()};
}

std::string canonicalZoneName(std::string_view name) {
    const auto wide = asciiName(name);
    if (!wide) {
        return {};
    }
    UErrorCode status = U_ZERO_ERROR;
    std::array<char16_t, 128> canonical{};
    UBool known = 0;
    const auto length = icuDates().ucal_getCanonicalTimeZoneID(
        wide->data(), lengthOf(*wide), canonical.data(),
        static_cast<std::int32_t>(canonical.size()), &known, &status);
    return U_FAILURE(status) || known == 0
               ? std::string{}
               : std::string{canonical.begin(), canonical.begin() + length};
}

std::shared_ptr<const Zone> zoneFromICU(std::string_view name) {
    if (canonicalZoneName(name).empty()) {
        return nullptr;
    }
    const auto wide = asciiName(name);
    const ICUDates& icu = icuDates();
    UErrorCode status = U_ZERO_ERROR;
    UCalendar* calendar =
        icu.ucal_open(wide->data(), lengthOf(*wide), "en", UCAL_GREGORIAN, &status);
    if (U_FAILURE(status)) {
        return nullptr;
    }
    const UTCTime end = std::chrono::sys_days{std::chrono::year{Zone::lastYear + 1} / 1 / 1};
    icu.ucal_setMillis(calendar, dateOf(std::chrono::sys_days{std::chrono::year{1900} / 1 / 1}),
                       &status);
    const seconds first = offsetOf(calendar, status);
    std::vector<Zone::Change> changes;
    UDate next = 0;
    while (icu.ucal_getTimeZoneTransitionDate(calendar, UCAL_TZ_TRANSITION_NEXT, &next, &status) !=
               0 &&
           U_SUCCESS(status) && timeOf(next) < end) {
        icu.ucal_setMillis(calendar, next, &status);
        changes.push_back({timeOf(next), offsetOf(calendar, status)});
    }
    icu.ucal_close(calendar);
    return U_SUCCESS(status) ? std::make_shared<const Zone>(first, std::move(changes)) : nullptr;
}

} // namespace velmiro::local
