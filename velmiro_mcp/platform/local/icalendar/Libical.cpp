#include "velmiro_mcp/platform/local/icalendar/Libical.hpp"

#include "velmiro_mcp/platform/local/libraries/SharedLibrary.hpp"

#include <libical/ical.h>

#include <cstdint>

namespace velmiro::local {
namespace {

static_assert(ICAL_MAJOR_VERSION == 3, "the library's name must have the version of its header");

struct Libical {
    SharedLibrary library{"libical", "libical.so.3"};
    VELMIRO_LIBRARY_FUNCTION(icaldurationtype_from_string);
    VELMIRO_LIBRARY_FUNCTION(icaldurationtype_is_bad_duration);
};

const Libical& libical() {
    static const Libical loaded;
    return loaded;
}

} // namespace

std::optional<NominalDuration> readDuration(const std::string& text) {
    const icaldurationtype read = libical().icaldurationtype_from_string(text.c_str());
    if (libical().icaldurationtype_is_bad_duration(read) != 0) {
        return std::nullopt;
    }
    const int sign = read.is_neg != 0 ? -1 : 1;
    const std::chrono::days days{7 * static_cast<std::int64_t>(read.weeks) + read.days};
    const std::chrono::seconds time = std::chrono::hours{read.hours} +
                                      std::chrono::minutes{read.minutes} +
                                      std::chrono::seconds{read.seconds};
    constexpr std::chrono::years longest{10'000}; // dates beyond that cannot be written
    if (std::chrono::abs(days) > longest || std::chrono::abs(time) > longest) {
        return std::nullopt;
    }
    return NominalDuration{sign * days, sign * time};
}

} // namespace velmiro::local
