#include "velmiro_mcp/platform/local/editing/ReminderCompletion.hpp"

#include "velmiro_mcp/platform/local/calendars/Versions.hpp"
#include "velmiro_mcp/platform/local/editing/ComponentEdits.hpp"
#include "velmiro_mcp/platform/local/editing/NewItemText.hpp"

#include <algorithm>
#include <cstdint>
#include <map>

namespace velmiro::local {
namespace {

/// Returns the SEQUENCE after the reminder's own. Never returns a lower one, even for a number
/// beyond the format's range: another version in the file would then supersede the completed one.
std::string nextSequence(const Component& reminder) {
    const std::int64_t sequence = sequenceOf(reminder);
    return std::to_string(sequence >= INT32_MAX ? sequence
                                                : std::max<std::int64_t>(sequence, 0) + 1);
}

bool isSame(const StoredReminder& left, const StoredReminder& right) {
    return left.identifier == right.identifier && left.title == right.title &&
           left.notes == right.notes && left.priority == right.priority && left.due == right.due &&
           left.completed == right.completed && left.cancelled == right.cancelled &&
           left.isSuperseded == right.isSuperseded;
}

/// Returns whether the new text has the same items, except that one is now completed.
bool differsInOne(const std::string& before, const std::string& after, std::size_t index,
                  ZoneCatalogue& zones) {
    CalendarFile expected = readCalendarFile(before, "", zones);
    const CalendarFile found = readCalendarFile(after, "", zones);
    expected.reminders[index].completed = true;
    expected.reminders[index].cancelled = false;
    return found.events.size() == expected.events.size() &&
           std::ranges::equal(found.reminders, expected.reminders, isSame);
}

} // namespace

Completion completed(const std::string& bytes, std::size_t index, Instant now,
                     ZoneCatalogue& zones) {
    const std::string text = unfoldedText(bytes);
    const std::vector<Component> components = readComponents(text);
    const std::vector<ReminderComponent> reminders = reminderComponents(components);
    const ReminderComponent source = reminders.at(index);
    const std::string time = momentText(inUTC(now));

    Completion result;
    LineEdits edits{bytes};
    std::map<std::string, std::string> properties{
        {"STATUS", "STATUS:COMPLETED"},
        {"COMPLETED", "COMPLETED:" + time},
        {"PERCENT-COMPLETE", "PERCENT-COMPLETE:100"},
        {"LAST-MODIFIED", "LAST-MODIFIED:" + time},
        {"SEQUENCE", "SEQUENCE:" + nextSequence(*source.reminder)},
    };
    if (readReminder(*source.reminder, [](std::string_view) { return nullptr; }).isOpen()) {
        result.next = nextReminder(bytes, text, reminders, source, now, zones);
        if (result.next) {
            properties.emplace("RRULE", "");
            properties.emplace("RDATE", "");
        }
    }
    setProperties(edits, text, *source.reminder, properties);
    result.text = edits.text();
    if (!differsInOne(bytes, result.text, index, zones)) {
        throw PlatformError{"the file of this reminder cannot be changed without changing more; "
                            "nothing was saved"};
    }
    return result;
}

} // namespace velmiro::local
