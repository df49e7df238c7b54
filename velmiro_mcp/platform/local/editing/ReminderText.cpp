#include "velmiro_mcp/platform/local/editing/ReminderText.hpp"

#include "velmiro_mcp/platform/local/calendars/CalendarFile.hpp"
#include "velmiro_mcp/platform/local/editing/ContentLineWriter.hpp"
#include "velmiro_mcp/platform/local/editing/NewItemText.hpp"

namespace velmiro::local {
namespace {

/// A reminder in the form that the file can hold.
struct Draft {
    std::string title;
    std::string notes;
    int priority = 0;
    std::optional<Moment> due;
};

Draft draftOf(const NewReminder& reminder) {
    Draft draft{storable(reminder.title, "the title of the reminder"),
                storable(reminder.notes, "the text of the notes of the reminder"),
                reminder.priority, std::nullopt};
    if (reminder.due) {
        draft.due = inUTC(*reminder.due);
        requireWritable(*draft.due);
    }
    return draft;
}

std::string compose(const Draft& draft, const std::string& uid, Instant now) {
    std::string text = itemBeginning("VTODO", uid, now);
    appendLine(text, "CREATED", momentText(inUTC(now)));
    appendLine(text, "LAST-MODIFIED", momentText(inUTC(now)));
    appendLine(text, "SUMMARY", escapedText(draft.title));
    if (draft.due) {
        appendLine(text, "DUE", momentText(*draft.due));
    }
    if (draft.priority != 0) {
        appendLine(text, "PRIORITY", std::to_string(draft.priority));
    }
    if (!draft.notes.empty()) {
        appendLine(text, "DESCRIPTION", escapedText(draft.notes));
    }
    appendLine(text, "STATUS", "NEEDS-ACTION");
    return text + itemEnd("VTODO");
}

bool holds(const std::string& text, const Draft& draft, const std::string& uid) {
    ZoneCatalogue zones;
    const CalendarFile file = readCalendarFile(text, "", zones);
    if (file.reminders.size() != 1) {
        return false;
    }
    const StoredReminder& reminder = file.reminders.front();
    return reminder.identifier == uid && reminder.title.value_or("") == draft.title &&
           reminder.notes.value_or("") == draft.notes && reminder.priority == draft.priority &&
           reminder.due == draft.due && reminder.isOpen();
}

} // namespace

std::string reminderFileText(const NewReminder& reminder, const std::string& uid, Instant now) {
    const Draft draft = draftOf(reminder);
    std::string text = compose(draft, uid, now);
    if (!holds(text, draft, uid)) {
        throw cannotHold("reminder");
    }
    return text;
}

} // namespace velmiro::local
