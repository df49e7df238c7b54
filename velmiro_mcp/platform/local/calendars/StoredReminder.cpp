#include "velmiro_mcp/platform/local/calendars/StoredReminder.hpp"

#include "velmiro_mcp/platform/local/calendars/Span.hpp"

#include <charconv>
#include <string_view>

namespace velmiro::local {
namespace {

bool hasValue(const Component& component, std::string_view name, std::string_view value) {
    const ContentLine* const line = component.line(name);
    return line != nullptr && sameWord(line->value, value);
}

int readPriority(const Component& component) {
    const ContentLine* const line = component.line("PRIORITY");
    const std::string_view text = line != nullptr ? line->value : std::string_view{};
    int priority = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), priority);
    const bool isPriority = read.ec == std::errc{} && read.ptr == text.data() + text.size() &&
                            priority >= 0 && priority <= 9;
    return isPriority ? priority : 0;
}

} // namespace

StoredReminder readReminder(const Component& component, const ZoneFinder& zones) {
    StoredReminder reminder;
    reminder.identifier = readText(component, "UID").value_or("");
    reminder.hasUID = !reminder.identifier.empty();
    reminder.title = readText(component, "SUMMARY");
    reminder.notes = readText(component, "DESCRIPTION");
    reminder.priority = readPriority(component);
    reminder.completed = hasValue(component, "STATUS", "COMPLETED") ||
                         component.line("COMPLETED") != nullptr ||
                         hasValue(component, "PERCENT-COMPLETE", "100");
    reminder.cancelled = hasValue(component, "STATUS", "CANCELLED");
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
