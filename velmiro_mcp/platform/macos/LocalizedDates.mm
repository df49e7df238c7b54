#include "velmiro_mcp/ports/LocalizedDates.hpp"
#include "velmiro_mcp/base/Instant.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"
#include "velmiro_mcp/platform/macos/UserCalendar.hpp"

namespace velmiro {
namespace {

using namespace macos;

std::string formatted(Instant instant, NSDateFormatterStyle time) {
    return guarded([&](Problem&) {
        const Owned<NSDateFormatter> formatter{[[NSDateFormatter alloc] init]};
        formatter.get().timeZone = userTimeZone();
        formatter.get().dateStyle = NSDateFormatterMediumStyle;
        formatter.get().timeStyle = time;
        return textOrEmpty([formatter.get() stringFromDate:dateOf(instant)]);
    });
}

} // namespace

std::string localizedDate(Instant instant) {
    return formatted(instant, NSDateFormatterNoStyle);
}

std::string localizedDateTime(Instant instant) {
    return formatted(instant, NSDateFormatterShortStyle);
}

} // namespace velmiro
