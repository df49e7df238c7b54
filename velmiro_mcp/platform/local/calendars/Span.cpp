#include "velmiro_mcp/platform/local/calendars/Span.hpp"

#include <algorithm>

namespace velmiro::local {

using std::chrono::days;
using std::chrono::seconds;

Span spanOf(const Moment& start, const std::optional<Moment>& end,
            const std::optional<NominalDuration>& duration, UserClock& clock) {
    if (start.isDate) {
        days length{1};
        if (end) {
            length = std::chrono::ceil<days>(end->civil - start.civil);
        } else if (duration) {
            length = duration->days + std::chrono::ceil<days>(duration->time);
        }
        return {std::max(length, days{1}), seconds{0}};
    }
    if (end) {
        const auto length =
            std::chrono::floor<seconds>(clock.instantOf(*end) - clock.instantOf(start));
        return {days{0}, std::max(length, seconds{0})};
    }
    if (duration && duration->days + duration->time > seconds{0}) {
        return {duration->days, duration->time};
    }
    return {};
}

Instant endOf(const Moment& start, const Span& span, UserClock& clock) {
    if (span.days == days{0}) {
        return clock.instantOf(start) + span.time;
    }
    return clock.instantOf({start.civil + span.days, start.isDate, start.zone}) + span.time;
}

} // namespace velmiro::local
