#include "velmiro_mcp/platform/local/calendars/StoredReminder.hpp"

#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/platform/local/calendars/Span.hpp"

#include <charconv>
#include <string_view>

namespace velmiro::local {
namespace {

int readPriority(const Component& component) {
    const std::string_view text = readWord(component, "PRIORITY");
    int priority = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), priority);
    const bool isPriority = read.ec == std::errc{} && read.ptr == text.data() + text.size() &&
                            priority >= 0 && priority <= 9;
    return isPriority ? priority : 0;
}

} // namespace

StoredReminder readReminder(const Component& component, const ZoneFinder& zones) {
    StoredReminder reminder;
    reminder.identifier = trim(readText(component, "UID").value_or(""));
    reminder.hasUID = !reminder.identifier.empty();
    reminder.title = readText(component, "SUMMARY");
    reminder.notes = readText(component, "DESCRIPTION");
    reminder.priority = readPriority(component);
    const std::string_view status = readWord(component, "STATUS");
    reminder.completed = sameWord(status, "COMPLETED") || component.line("COMPLETED") != nullptr ||
                         readWord(component, "PERCENT-COMPLETE") == "100";
    reminder.cancelled = sameWord(status, "CANCELLED");
    reminder.isOverride = component.line("RECURRENCE-ID") != nullptr;
    reminder.due = readMoment(component, "DUE", zones);
    if (const auto duration = readDuration(component); duration && !reminder.due) {
        reminder.due = readMoment(component, "DTSTART", zones);
        if (duration->days + duration->time > std::chrono::seconds{0}) {
            reminder.afterMoment = *duration;
        }
    }
    return reminder;
}

std::optional<Instant> dueDate(const StoredReminder& reminder, UserClock& clock) {
    if (!reminder.due) {
        return std::nullopt;
    }
    return endOf(*reminder.due, {reminder.afterMoment.days, reminder.afterMoment.time}, clock);
}

} // namespace velmiro::local
