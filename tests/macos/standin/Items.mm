#include "tests/macos/standin/Objects.hpp"

using namespace velmiro;
using namespace velmiro::test;

namespace {

/// The values of a calendar item of the framework, event or reminder.
struct Values {
    EKEventStore* store = nil; ///< not retained: it lives longer
    std::string identifier;
    std::optional<std::string> title, location, notes;
    std::optional<Instant> start, end;
    bool allDay = false;
    bool completed = false;
    NSUInteger priority = 0;
    EKCalendar* calendar = nil;
    NSDateComponents* due = nil;
};

Values& valuesOf(void* implementation) {
    return *static_cast<Values*>(implementation);
}

NSString* stringOrNil(const std::optional<std::string>& text) {
    return text ? stringOf(*text) : nil;
}

std::optional<std::string> optionalText(NSString* string) {
    return string == nil ? std::nullopt : std::optional{test::textOf(string)};
}

/// Moves an instant to a time on its own day. EventKit does so with all-day events: whatever it is
/// given, they run from the beginning of their first day to 23:59:59 of their last.
std::optional<Instant> dayEdge(const std::optional<Instant>& instant, const std::tm& clock) {
    if (!instant) {
        return std::nullopt;
    }
    const std::time_t time =
        std::chrono::floor<std::chrono::seconds>(instant->time_since_epoch()).count();
    std::tm parts{};
    localtime_r(&time, &parts);
    parts.tm_hour = clock.tm_hour;
    parts.tm_min = clock.tm_min;
    parts.tm_sec = clock.tm_sec;
    parts.tm_isdst = -1;
    return Instant{std::chrono::seconds{std::mktime(&parts)}};
}

std::tm clockAt(int hour, int minute, int second) {
    std::tm clock{};
    clock.tm_hour = hour;
    clock.tm_min = minute;
    clock.tm_sec = second;
    return clock;
}

std::optional<Instant> startOf(const Values& values) {
    return values.allDay ? dayEdge(values.start, clockAt(0, 0, 0)) : values.start;
}

std::optional<Instant> endOf(const Values& values) {
    return values.allDay ? dayEdge(values.end, clockAt(23, 59, 59)) : values.end;
}

template <typename Object>
void replace(Object*& old, Object* object) {
    [object retain];
    [old release];
    old = object;
}

NSDateComponents* componentsOf(const StandIn::DueParts& parts) {
    NSDateComponents* const components = [[[NSDateComponents alloc] init] autorelease];
    const auto undefined = [](const std::optional<int>& part) {
        return part ? NSInteger{*part} : NSInteger{NSDateComponentUndefined};
    };
    components.year = undefined(parts.year);
    components.month = undefined(parts.month);
    components.day = undefined(parts.day);
    components.hour = undefined(parts.hour);
    components.minute = undefined(parts.minute);
    if (parts.withCalendar) {
        NSCalendar* const calendar =
            [NSCalendar calendarWithIdentifier:NSCalendarIdentifierGregorian];
        calendar.timeZone = parts.zone.empty() ? [NSTimeZone systemTimeZone]
                                               : [NSTimeZone timeZoneWithName:stringOf(parts.zone)];
        components.calendar = calendar;
    }
    return components;
}

StandIn::DueParts partsOf(Instant instant) {
    const std::time_t time =
        std::chrono::floor<std::chrono::seconds>(instant.time_since_epoch()).count();
    std::tm parts{};
    localtime_r(&time, &parts);
    return {parts.tm_year + 1900,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_hour,
            parts.tm_min,
            true,
            {}};
}

} // namespace

@implementation EKCalendar
- (void)dealloc {
    delete static_cast<Calendar*>(_implementation);
    [super dealloc];
}
- (NSString*)calendarIdentifier {
    return stringOf(recordOf(self).identifier);
}
- (NSString*)title {
    return isNil("calendar.title", recordOf(self).identifier) ? nil
                                                              : stringOf(recordOf(self).title);
}
- (void)setTitle:(NSString*)title {
    raise("a test does not rename calendars, nor does what it tests: " + test::textOf(title));
}
@end

@implementation EKCalendarItem
- (instancetype)init {
    self = [super init];
    _implementation = new Values;
    return self;
}
- (void)dealloc {
    replace<EKCalendar>(valuesOf(_implementation).calendar, nil);
    replace<NSDateComponents>(valuesOf(_implementation).due, nil);
    delete static_cast<Values*>(_implementation);
    [super dealloc];
}
- (NSString*)calendarItemIdentifier {
    const std::string& identifier = valuesOf(_implementation).identifier;
    return isNil("calendarItemIdentifier", identifier) ? nil : stringOf(identifier);
}
- (EKCalendar*)calendar {
    const Values& values = valuesOf(_implementation);
    return isNil("calendar", values.identifier) ? nil : values.calendar;
}
- (void)setCalendar:(EKCalendar*)calendar {
    begin("setCalendar:", calendar == nil ? "nil" : recordOf(calendar).title);
    replace(valuesOf(_implementation).calendar, calendar);
}
- (NSString*)title {
    const Values& values = valuesOf(_implementation);
    return isNil("title", values.identifier) ? nil : stringOrNil(values.title);
}
- (void)setTitle:(NSString*)title {
    begin("setTitle:", test::textOf(title));
    valuesOf(_implementation).title = optionalText(title);
}
- (NSString*)location {
    const Values& values = valuesOf(_implementation);
    return isNil("location", values.identifier) ? nil : stringOrNil(values.location);
}
- (void)setLocation:(NSString*)location {
    begin("setLocation:", test::textOf(location));
    valuesOf(_implementation).location = optionalText(location);
}
- (NSString*)notes {
    const Values& values = valuesOf(_implementation);
    return isNil("notes", values.identifier) ? nil : stringOrNil(values.notes);
}
- (void)setNotes:(NSString*)notes {
    begin("setNotes:", test::textOf(notes));
    valuesOf(_implementation).notes = optionalText(notes);
}
@end

@implementation EKEvent
+ (EKEvent*)eventWithEventStore:(EKEventStore*)eventStore {
    begin("eventWithEventStore:", "");
    EKEvent* const made = [[[EKEvent alloc] init] autorelease];
    valuesOf(made->_implementation).store = eventStore;
    return made;
}
- (BOOL)isAllDay {
    begin("allDay");
    return valuesOf(_implementation).allDay;
}
- (void)setAllDay:(BOOL)allDay {
    begin("setAllDay:", allDay ? "YES" : "NO");
    valuesOf(_implementation).allDay = allDay;
}
- (NSDate*)startDate {
    const Values& values = valuesOf(_implementation);
    return isNil("startDate", values.identifier) ? nil : test::dateOf(startOf(values));
}
- (void)setStartDate:(NSDate*)startDate {
    begin("setStartDate:", secondsOf(startDate));
    valuesOf(_implementation).start = test::instantOf(startDate);
}
- (NSDate*)endDate {
    const Values& values = valuesOf(_implementation);
    return isNil("endDate", values.identifier) ? nil : test::dateOf(endOf(values));
}
- (void)setEndDate:(NSDate*)endDate {
    begin("setEndDate:", secondsOf(endDate));
    valuesOf(_implementation).end = test::instantOf(endDate);
}
@end

@implementation EKReminder
+ (EKReminder*)reminderWithEventStore:(EKEventStore*)eventStore {
    begin("reminderWithEventStore:", "");
    EKReminder* const made = [[[EKReminder alloc] init] autorelease];
    valuesOf(made->_implementation).store = eventStore;
    return made;
}
- (NSDateComponents*)dueDateComponents {
    const Values& values = valuesOf(_implementation);
    return isNil("dueDateComponents", values.identifier) ? nil : values.due;
}
- (void)setDueDateComponents:(NSDateComponents*)components {
    begin("setDueDateComponents:",
          components == nil
              ? "nil"
              : std::to_string(components.year) + "-" + std::to_string(components.month) + "-" +
                    std::to_string(components.day) + " " + std::to_string(components.hour) + ":" +
                    std::to_string(components.minute));
    NSString* const kind = components.calendar.calendarIdentifier;
    if (components != nil && ![kind isEqualToString:NSCalendarIdentifierGregorian]) {
        raise("due dates are kept in the Gregorian calendar, not " + test::textOf(kind));
    }
    replace(valuesOf(_implementation).due, components);
}
- (BOOL)isCompleted {
    begin("completed");
    return valuesOf(_implementation).completed;
}
- (void)setCompleted:(BOOL)completed {
    begin("setCompleted:", completed ? "YES" : "NO");
    valuesOf(_implementation).completed = completed;
}
- (NSUInteger)priority {
    begin("priority");
    return valuesOf(_implementation).priority;
}
- (void)setPriority:(NSUInteger)priority {
    begin("setPriority:", std::to_string(priority));
    valuesOf(_implementation).priority = priority;
}
@end

namespace velmiro::test {

EKCalendar* calendarObject(const Calendar& calendar) {
    EKCalendar* const made = [[[EKCalendar alloc] init] autorelease];
    made->_implementation = new Calendar{calendar};
    return made;
}

const Calendar& recordOf(EKCalendar* calendar) {
    return *static_cast<const Calendar*>(calendar->_implementation);
}

std::string titlesOf(NSArray<EKCalendar*>* calendars) {
    std::string titles;
    for (EKCalendar* calendar in calendars) {
        titles += (titles.empty() ? "" : ", ") + recordOf(calendar).title;
    }
    return calendars == nil ? "nil" : "[" + titles + "]";
}

EKEvent* eventObject(const Event& event, EKEventStore* store) {
    EKEvent* const made = [[[EKEvent alloc] init] autorelease];
    Values& values = valuesOf(made->_implementation);
    values = {store,       event.identifier, event.title, event.location,
              event.notes, event.start,      event.end,   event.allDay};
    if (event.allDay && event.end) { // in the data, the end is the midnight after
        values.end = *event.end - std::chrono::seconds{1};
    }
    if (event.calendar) {
        values.calendar = [calendarObject({"", *event.calendar}) retain];
    }
    return made;
}

EKReminder* reminderObject(const Reminder& reminder, EKEventStore* store) {
    EKReminder* const made = [[[EKReminder alloc] init] autorelease];
    Values& values = valuesOf(made->_implementation);
    values.store = store;
    values.identifier = reminder.identifier;
    values.title = reminder.title;
    values.notes = reminder.notes;
    values.completed = reminder.completed;
    values.priority = static_cast<NSUInteger>(reminder.priority);
    if (reminder.list) {
        values.calendar = [calendarObject({"", *reminder.list}) retain];
    }
    const auto& wanted = StandIn::shared().dueParts;
    if (const auto parts = wanted.find(reminder.identifier); parts != wanted.end()) {
        values.due = [componentsOf(parts->second) retain];
    } else if (reminder.due) {
        values.due = [componentsOf(partsOf(*reminder.due)) retain];
    }
    return made;
}

NewEvent newEvent(EKEvent* event) {
    const Values& values = valuesOf(event->_implementation);
    NewEvent saved{values.title.value_or(""), startOf(values).value(),
                   endOf(values).value(),     values.allDay,
                   values.location,           values.notes};
    if (saved.allDay) {
        saved.end += std::chrono::seconds{1};
    }
    return saved;
}

NewReminder newReminder(EKReminder* reminder) {
    const Values& values = valuesOf(reminder->_implementation);
    return {values.title.value_or(""), values.notes, static_cast<int>(values.priority),
            test::instantOf(values.due.date)};
}

EKEventStore* storeOf(EKCalendarItem* item) {
    return valuesOf(item->_implementation).store;
}

void setIdentifier(EKCalendarItem* item, const std::string& identifier) {
    valuesOf(item->_implementation).identifier = identifier;
}

} // namespace velmiro::test
