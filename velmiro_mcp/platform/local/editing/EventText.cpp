#include "velmiro_mcp/platform/local/editing/EventText.hpp"

#include "velmiro_mcp/base/WholeDays.hpp"
#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/editing/ContentLineWriter.hpp"
#include "velmiro_mcp/platform/local/editing/NewItemText.hpp"

namespace velmiro::local {
namespace {

/// An event in the form that the file can hold.
struct Draft {
    std::string title;
    std::string location;
    std::string notes;
    Moment start;
    Moment end;
};

Draft draftOf(const NewEvent& event) {
    Draft draft{storable(event.title, "the title of the event"),
                storable(event.location, "the location of the event"),
                storable(event.notes, "the text of the notes of the event"), inUTC(event.start),
                inUTC(event.end)};
    if (event.allDay) {
        const WholeDays days = wholeDays(event.start, event.end);
        draft.start = {days.first, true, nullptr};
        draft.end = {days.end, true, nullptr};
    }
    requireWritable(draft.start);
    requireWritable(draft.end);
    return draft;
}

std::string compose(const Draft& draft, const std::string& uid, Instant now) {
    std::string text = itemBeginning("VEVENT", uid, now);
    const bool dates = draft.start.isDate;
    appendLine(text, dates ? "DTSTART;VALUE=DATE" : "DTSTART", momentText(draft.start));
    appendLine(text, dates ? "DTEND;VALUE=DATE" : "DTEND", momentText(draft.end));
    appendLine(text, "SUMMARY", escapedText(draft.title));
    if (!draft.location.empty()) {
        appendLine(text, "LOCATION", escapedText(draft.location));
    }
    if (!draft.notes.empty()) {
        appendLine(text, "DESCRIPTION", escapedText(draft.notes));
    }
    return text + itemEnd("VEVENT");
}

bool holds(const std::string& text, const Draft& draft, const std::string& uid) {
    ZoneCatalogue zones;
    const CalendarFile file = readCalendarFile(text, "", zones);
    if (file.events.size() != 1) {
        return false;
    }
    const StoredEvent& event = file.events.front();
    return event.identifier == uid && event.title.value_or("") == draft.title &&
           event.location.value_or("") == draft.location &&
           event.notes.value_or("") == draft.notes && event.start == draft.start &&
           event.end == draft.end;
}

} // namespace

std::string eventFileText(const NewEvent& event, const std::string& uid, Instant now) {
    const Draft draft = draftOf(event);
    std::string text = compose(draft, uid, now);
    if (!holds(text, draft, uid)) {
        throw cannotHold("event");
    }
    return text;
}

} // namespace velmiro::local
