#include "velmiro_mcp/platform/local/editing/NewItemText.hpp"

#include "velmiro_mcp/platform/local/editing/ContentLineWriter.hpp"
#include "velmiro_mcp/platform/local/icalendar/CalendarValues.hpp"
#include "velmiro_mcp/platform/local/time/Zone.hpp"

namespace velmiro::local {

std::string storable(const std::optional<std::string>& text, const std::string& what) {
    std::string plain = withPlainLineEnds(text.value_or(""));
    if (!isStorable(plain)) {
        throw PlatformError{what + " contains a control character that a calendar file cannot "
                                   "hold; nothing was saved"};
    }
    return plain;
}

Moment inUTC(Instant instant) {
    return {CivilTime{std::chrono::floor<std::chrono::seconds>(instant).time_since_epoch()}, false,
            Zone::utc()};
}

void requireWritable(const Moment& moment) {
    const CivilTime first = CivilDay{std::chrono::year{1} / 1 / 1};
    const CivilTime last = CivilDay{std::chrono::year{9999} / 12 / 31} + std::chrono::days{1};
    if (moment.civil < first || moment.civil >= last) {
        throw PlatformError{"a calendar file can only hold dates of the years 1 to 9999; nothing "
                            "was saved"};
    }
}

std::string itemBeginning(const char* component, const std::string& uid, Instant now) {
    std::string text;
    appendLine(text, "BEGIN", "VCALENDAR");
    appendLine(text, "VERSION", "2.0");
    appendLine(text, "PRODID", "-//Velmiro//velmiro_mcp//EN");
    appendLine(text, "BEGIN", component);
    appendLine(text, "UID", escapedText(uid));
    appendLine(text, "DTSTAMP", momentText(inUTC(now)));
    return text;
}

std::string itemEnd(const char* component) {
    std::string text;
    appendLine(text, "END", component);
    appendLine(text, "END", "VCALENDAR");
    return text;
}

PlatformError cannotHold(const std::string& item) {
    return PlatformError{"a calendar file cannot hold this " + item +
                         " as it was asked for; nothing was saved"};
}

} // namespace velmiro::local
