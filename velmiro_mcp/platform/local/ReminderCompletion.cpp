#include "velmiro_mcp/platform/local/ReminderCompletion.hpp"

#include "velmiro_mcp/platform/local/ComponentLines.hpp"
#include "velmiro_mcp/platform/local/NewItemText.hpp"
#include "velmiro_mcp/platform/local/NextReminder.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>

namespace velmiro::local {
namespace {

/// The SEQUENCE after the one that a reminder has.
std::string nextSequence(const Component& reminder) {
    const ContentLine* const line = reminder.line("SEQUENCE");
    const std::string_view text = line != nullptr ? line->value : std::string_view{};
    std::int32_t sequence = 0;
    std::from_chars(text.data(), text.data() + text.size(), sequence);
    return std::to_string(std::clamp(sequence, 0, INT32_MAX - 1) + 1);
}

bool isSame(const StoredReminder& left, const StoredReminder& right) {
    return left.identifier == right.identifier && left.title == right.title &&
           left.notes == right.notes && left.priority == right.priority && left.due == right.due &&
           left.completed == right.completed && left.cancelled == right.cancelled;
}

/// Whether the new text has the same items, but for the one that is completed now.
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
    const ReminderPlace place = reminderPlaces(components).at(index);
    const std::string time = momentText(inUTC(now));

    Completion result;
    FileLines lines{bytes};
    std::map<std::string, std::string> properties{
        {"STATUS", "STATUS:COMPLETED"},
        {"COMPLETED", "COMPLETED:" + time},
        {"PERCENT-COMPLETE", "PERCENT-COMPLETE:100"},
        {"LAST-MODIFIED", "LAST-MODIFIED:" + time},
        {"SEQUENCE", "SEQUENCE:" + nextSequence(*place.reminder)},
    };
    if (readReminder(*place.reminder, [](std::string_view) { return nullptr; }).isOpen()) {
        if (auto next = nextReminder(bytes, text, place, now, zones)) {
            result.next = std::move(next->text);
            result.nextUID = std::move(next->uid);
            properties.emplace("RRULE", "");
        }
    }
    setProperties(lines, text, *place.reminder, properties);
    result.text = lines.text();
    if (!differsInOne(bytes, result.text, index, zones)) {
        throw PlatformError{"the file of this reminder cannot be changed without changing more; "
                            "nothing was saved"};
    }
    return result;
}

} // namespace velmiro::local
