#include "velmiro_mcp/platform/local/EventText.hpp"

#include "velmiro_mcp/platform/local/StoredEvent.hpp"
#include "velmiro_mcp/platform/local/TextLines.hpp"
#include "velmiro_mcp/platform/local/UserClock.hpp"
#include "velmiro_mcp/platform/local/Zone.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace velmiro::local {
namespace {

using std::chrono::days;
using std::chrono::seconds;

/// An event as the format can hold it.
struct Draft {
    std::string title;
    std::string location;
    std::string notes;
    Moment start;
    Moment end;
};

std::string storable(const std::optional<std::string>& text, const char* what) {
    std::string plain = withPlainLineEnds(text.value_or(""));
    if (!isStorable(plain)) {
        throw PlatformError(std::string{what} +
                            " of the event contains a control character that a calendar file "
                            "cannot hold; nothing was saved");
    }
    return plain;
}

Moment inUTC(Instant instant) {
    return {CivilTime{std::chrono::floor<seconds>(instant).time_since_epoch()}, false, Zone::utc()};
}

Draft draftOf(const NewEvent& event) {
    Draft draft{storable(event.title, "the title"), storable(event.location, "the location"),
                storable(event.notes, "the text of the notes"), inUTC(event.start),
                inUTC(event.end)};
    if (event.allDay) {
        const CivilTime start = UserClock::civil(event.start, nullptr);
        const CivilTime end = UserClock::civil(event.end, nullptr);
        const auto length = std::chrono::floor<days>(end - start + std::chrono::hours{12});
        draft.start = {dayOf(start), true, nullptr};
        draft.end = {dayOf(start) + std::max(length, days{1}), true, nullptr};
    }
    const CivilTime first = CivilDay{std::chrono::year{1} / 1 / 1};
    const CivilTime last = CivilDay{std::chrono::year{9999} / 12 / 31} + days{1};
    if (draft.start.civil < first || draft.end.civil >= last) {
        throw PlatformError("a calendar file can only hold dates of the years 1 to 9999; nothing "
                            "was saved");
    }
    return draft;
}

std::string written(const Moment& moment) {
    const CivilDay day = dayOf(moment.civil);
    const std::chrono::year_month_day date{day};
    const std::chrono::hh_mm_ss time{moment.civil - day};
    std::array<char, 64> text{};
    const int length =
        moment.isDate ? std::snprintf(text.data(), text.size(), "%04d%02u%02u", int{date.year()},
                                      unsigned{date.month()}, unsigned{date.day()})
                      : std::snprintf(text.data(), text.size(), "%04d%02u%02uT%02d%02d%02dZ",
                                      int{date.year()}, unsigned{date.month()},
                                      unsigned{date.day()}, static_cast<int>(time.hours().count()),
                                      static_cast<int>(time.minutes().count()),
                                      static_cast<int>(time.seconds().count()));
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string compose(const Draft& draft, const std::string& uid, Instant now) {
    std::string text;
    const bool dates = draft.start.isDate;
    appendLine(text, "BEGIN", "VCALENDAR");
    appendLine(text, "VERSION", "2.0");
    appendLine(text, "PRODID", "-//Velmiro//velmiro_mcp//EN");
    appendLine(text, "BEGIN", "VEVENT");
    appendLine(text, "UID", escapedText(uid));
    appendLine(text, "DTSTAMP", written(inUTC(now)));
    appendLine(text, dates ? "DTSTART;VALUE=DATE" : "DTSTART", written(draft.start));
    appendLine(text, dates ? "DTEND;VALUE=DATE" : "DTEND", written(draft.end));
    appendLine(text, "SUMMARY", escapedText(draft.title));
    if (!draft.location.empty()) {
        appendLine(text, "LOCATION", escapedText(draft.location));
    }
    if (!draft.notes.empty()) {
        appendLine(text, "DESCRIPTION", escapedText(draft.notes));
    }
    appendLine(text, "END", "VEVENT");
    appendLine(text, "END", "VCALENDAR");
    return text;
}

bool isSame(const Moment& read, const Moment& wanted) {
    return read.civil == wanted.civil && read.isDate == wanted.isDate && read.zone == wanted.zone;
}

bool holds(const std::string& text, const Draft& draft, const std::string& uid) {
    ZoneCatalogue zones;
    const EventFile file = readEventFile(text, "", zones);
    if (file.events.size() != 1) {
        return false;
    }
    const StoredEvent& event = file.events.front();
    return event.identifier == uid && event.title.value_or("") == draft.title &&
           event.location.value_or("") == draft.location &&
           event.notes.value_or("") == draft.notes && isSame(event.start, draft.start) &&
           event.end && isSame(*event.end, draft.end);
}

} // namespace

std::string eventFileText(const NewEvent& event, const std::string& uid, Instant now) {
    const Draft draft = draftOf(event);
    std::string text = compose(draft, uid, now);
    if (!holds(text, draft, uid)) {
        throw PlatformError("a calendar file cannot hold this event as it was asked for; nothing "
                            "was saved");
    }
    return text;
}

} // namespace velmiro::local
