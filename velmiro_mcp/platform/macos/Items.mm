#include "velmiro_mcp/platform/macos/Items.hpp"

#include "velmiro_mcp/platform/macos/UserCalendar.hpp"

namespace velmiro::macos {
namespace {

std::optional<Instant> dueDate(NSDateComponents* components) {
    if (components == nil) {
        return std::nullopt;
    }
    NSDate* const ownDate = components.date;
    return instantOf(ownDate != nil ? ownDate : [userCalendar() dateFromComponents:components]);
}

} // namespace

Calendar recordOf(EKCalendar* calendar) {
    return {textOrEmpty(calendar.calendarIdentifier), textOrEmpty(calendar.title)};
}

std::optional<Calendar> optionalRecordOf(EKCalendar* calendar) {
    return calendar == nil ? std::nullopt : std::optional{recordOf(calendar)};
}

Event recordOf(EKEvent* event) {
    return {textOrEmpty(event.calendarItemIdentifier),
            textOf(event.title),
            instantOf(event.startDate),
            instantOf(event.endDate),
            static_cast<bool>(event.allDay),
            textOf(event.calendar.title),
            textOf(event.location),
            textOf(event.notes)};
}

Reminder recordOf(EKReminder* reminder) {
    return {textOrEmpty(reminder.calendarItemIdentifier),
            textOf(reminder.title),
            textOf(reminder.calendar.title),
            static_cast<bool>(reminder.completed),
            static_cast<int>(reminder.priority),
            dueDate(reminder.dueDateComponents),
            textOf(reminder.notes)};
}

NSDateComponents* dueDateComponents(Instant due) {
    constexpr NSCalendarUnit parts = NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay |
                                     NSCalendarUnitHour | NSCalendarUnitMinute;
    NSCalendar* const calendar = userCalendar();
    NSDateComponents* const components = [calendar components:parts fromDate:dateOf(due)];
    components.calendar = calendar;
    return components;
}

} // namespace velmiro::macos
