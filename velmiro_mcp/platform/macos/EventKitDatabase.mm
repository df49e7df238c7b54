#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/base/WholeDays.hpp"
#include "velmiro_mcp/platform/macos/Items.hpp"
#include "velmiro_mcp/platform/macos/OneShotCallback.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <type_traits>

namespace velmiro {
namespace {

using namespace macos;

/// EventKit searches only the first four years of a longer time, and silently ignores the rest.
constexpr std::chrono::days longestSearch{4 * 365};
/// Later searches find later events. All events of all time could be millions: one that repeats
/// daily without an end is found every day.
constexpr std::size_t enoughEvents = 50'000;

constexpr std::size_t all = std::numeric_limits<std::size_t>::max();

std::size_t indexOf(EntityType type) {
    return static_cast<std::size_t>(type);
}

EKEntityType entityType(EntityType type) {
    return type == EntityType::event ? EKEntityTypeEvent : EKEntityTypeReminder;
}

/// Returns why a save failed. NO without an error is no failure: saving an unchanged item returns
/// that as well.
Problem failureOf(BOOL saved, NSError* error) {
    return !saved && error != nil ? Problem{descriptionOf(error)} : std::nullopt;
}

/// Returns the end as EventKit expects it. An all-day event lasts through the day of its end, so
/// the midnight after its last day would add a day.
Instant endFor(const NewEvent& event) {
    return event.allDay ? lastSecond(wholeDays(event.start, event.end)) : event.end;
}

Problem noLongerExists(const Calendar& calendar) {
    return "‘" + calendar.title + "’ is not there any more";
}

/// The user's calendars and reminders. No fetched object is kept: it would go stale as soon as
/// another program changes something. Only the store is long-lived, as EventKit advises.
class EventKitDatabase final : public EventDatabase {
public:
    AuthorizationStatus authorizationStatus(EntityType type) override {
        return guarded([&](Problem&) {
            const auto status = statusOf(type);
            updateAccess(type, status);
            return status;
        });
    }

    std::vector<Calendar> calendars(EntityType type) override {
        return guarded([&](Problem&) {
            std::vector<Calendar> found;
            for (EKCalendar* calendar in [store() calendarsForEntityType:entityType(type)]) {
                found.push_back(recordOf(calendar));
            }
            return found;
        });
    }

    std::optional<Calendar> defaultCalendarForNewEvents() override {
        return guarded(
            [&](Problem&) { return optionalRecordOf(store().defaultCalendarForNewEvents); });
    }

    std::optional<Calendar> defaultListForNewReminders() override {
        return guarded(
            [&](Problem&) { return optionalRecordOf([store() defaultCalendarForNewReminders]); });
    }

    std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) override {
        return guarded([&](Problem&) {
            NSArray<EKCalendar*>* const calendars = calendarsToSearch(EntityType::event, calendar);
            std::vector<Event> found;
            for (Instant from = start; from < end && found.size() < enoughEvents;
                 from += longestSearch) {
                @autoreleasepool { // a search leaves an object for each event
                    const Instant to = std::min<Instant>(end, from + longestSearch);
                    for (Event& event : eventsBetween(from, to, calendars)) {
                        // An event that began earlier was found by the previous search.
                        if (from == start || event.start >= from) {
                            found.push_back(std::move(event));
                        }
                    }
                }
            }
            return found;
        });
    }

    std::string saveEvent(const NewEvent& event, const Calendar& calendar) override {
        const Instant end = endFor(event);
        return saved([&](Problem& problem) {
            EKEvent* const created = [EKEvent eventWithEventStore:store()];
            created.title = stringOf(event.title);
            created.startDate = dateOf(event.start);
            created.endDate = dateOf(end);
            created.allDay = event.allDay;
            created.location = stringOrNil(event.location);
            created.notes = stringOrNil(event.notes);
            EKCalendar* const target = calendarFor(EntityType::event, calendar);
            created.calendar = target;
            problem = target == nil ? noLongerExists(calendar) : save(created);
            return textOrEmpty(created.calendarItemIdentifier);
        });
    }

    void fetchReminders(const ReminderQuery& query, RemindersFound found) override {
        const auto callback = std::make_shared<OneShotCallback>(std::move(found));
        const Problem problem = attempt([&](Problem&) {
            NSArray<EKCalendar*>* const lists = calendarsToSearch(EntityType::reminder, query.list);
            if (matchesNone(lists)) {
                callback->call(std::vector<Reminder>{});
                return;
            }
            cancelPendingFetch();
            const std::shared_ptr<OneShotCallback> shared = callback; // for the block to copy
            const std::size_t most = query.most;
            request_.keep([store()
                fetchRemindersMatchingPredicate:predicateFor(query, lists)
                                     completion:^(NSArray<EKReminder*>* reminders) {
                                       complete(*shared, reminders, most);
                                     }]);
            pending_ = callback;
        });
        if (problem && callback->claim()) {
            throw PlatformError{*problem};
        }
    }

    std::optional<Reminder> reminder(const std::string& identifier) override {
        return guarded([&](Problem&) {
            EKReminder* const found = reminderFor(identifier);
            return found == nil ? std::nullopt : std::optional{recordOf(found)};
        });
    }

    std::string saveReminder(const NewReminder& reminder, const Calendar& list) override {
        return saved([&](Problem& problem) {
            EKReminder* const created = [EKReminder reminderWithEventStore:store()];
            created.title = stringOf(reminder.title);
            created.notes = stringOrNil(reminder.notes);
            created.priority = static_cast<NSUInteger>(reminder.priority);
            if (reminder.due) {
                created.dueDateComponents = dueDateComponents(*reminder.due);
            }
            EKCalendar* const target = calendarFor(EntityType::reminder, list);
            created.calendar = target;
            problem = target == nil ? noLongerExists(list) : save(created);
            return textOrEmpty(created.calendarItemIdentifier);
        });
    }

    /// The framework's identifiers name one reminder each, so where it is stored says no more.
    bool completeReminder(const std::string& identifier, const std::string& /*storedAt*/) override {
        return saved([&](Problem& problem) {
            EKReminder* const found = reminderFor(identifier);
            if (found != nil) {
                found.completed = YES;
                problem = save(found);
            }
            return found != nil;
        });
    }

private:
    static AuthorizationStatus statusOf(EntityType type) {
        return static_cast<AuthorizationStatus>(
            [EKEventStore authorizationStatusForEntityType:entityType(type)]);
    }

    /// Returns the store, created on first use. It holds no items of a type without access.
    EKEventStore* store() {
        if (store_.get() == nil) {
            std::array<bool, 2> accessible{};
            for (const EntityType type : {EntityType::event, EntityType::reminder}) {
                accessible.at(indexOf(type)) = statusOf(type) == AuthorizationStatus::fullAccess;
            }
            store_ = Owned{[[EKEventStore alloc] init]};
            accessible_ = accessible;
        }
        return store_.get();
    }

    /// Resets the store if the user has granted access to a type since it was created: until then
    /// it may hold no items of that type.
    void updateAccess(EntityType type, AuthorizationStatus status) {
        bool& accessible = accessible_.at(indexOf(type));
        if (status != AuthorizationStatus::fullAccess) {
            accessible = false;
        } else if (!accessible && store_.get() != nil) { // retried next time if it fails
            accessible = !attempt([&](Problem&) { reset(); });
        }
    }

    /// Makes the store forget everything; never during a fetch, which is therefore ended first.
    void reset() {
        cancelPendingFetch();
        [store() reset];
    }

    /// Cancels a fetch that is still unanswered when another operation begins: it was abandoned.
    void cancelPendingFetch() {
        const auto callback = pending_.lock();
        if (callback != nullptr && !callback->isClaimed()) {
            attempt([&](Problem&) { [store() cancelFetchRequest:request_.get()]; });
        }
        pending_.reset();
        request_.keep(nil);
    }

    /// Returns nil if the calendar no longer exists.
    EKCalendar* calendarFor(EntityType type, const Calendar& calendar) {
        NSString* const identifier = stringOf(calendar.identifier);
        for (EKCalendar* candidate in [store() calendarsForEntityType:entityType(type)]) {
            if ([candidate.calendarIdentifier isEqualToString:identifier]) {
                return candidate;
            }
        }
        return nil;
    }

    /// Returns the calendars to search: nil for all, else an array of one. If that one no longer
    /// exists the array is empty, which the framework must not see: it would search all.
    NSArray<EKCalendar*>* calendarsToSearch(EntityType type, const Calendar* calendar) {
        if (calendar == nullptr) {
            return nil;
        }
        EKCalendar* const one = calendarFor(type, *calendar);
        return one == nil ? @[] : @[ one ];
    }

    static bool matchesNone(NSArray<EKCalendar*>* calendars) {
        return calendars != nil && calendars.count == 0;
    }

    std::vector<Event> eventsBetween(Instant from, Instant to, NSArray<EKCalendar*>* calendars) {
        if (matchesNone(calendars)) {
            return {};
        }
        NSPredicate* const overlapping = [store() predicateForEventsWithStartDate:dateOf(from)
                                                                          endDate:dateOf(to)
                                                                        calendars:calendars];
        return recordsOf<Event, EKEvent>([store() eventsMatchingPredicate:overlapping], all);
    }

    NSPredicate* predicateFor(const ReminderQuery& query, NSArray<EKCalendar*>* lists) {
        if (query.includeCompleted) {
            return [store() predicateForRemindersInCalendars:lists];
        }
        NSDate* const before = query.dueBefore ? dateOf(*query.dueBefore) : nil;
        return [store() predicateForIncompleteRemindersWithDueDateStarting:nil
                                                                    ending:before
                                                                 calendars:lists];
    }

    /// Called on a thread of the framework's choice. A nil array is no answer.
    static void complete(OneShotCallback& callback, NSArray<EKReminder*>* reminders,
                         std::size_t most) {
        std::optional<std::vector<Reminder>> found;
        attempt([&](Problem&) {
            if (reminders != nil) {
                found = recordsOf<Reminder, EKReminder>(reminders, most);
            }
        });
        callback.call(std::move(found));
    }

    /// Returns nil if there is no such item, or if it is an event.
    EKReminder* reminderFor(const std::string& identifier) {
        EKCalendarItem* const item = [store() calendarItemWithIdentifier:stringOf(identifier)];
        return [item isKindOfClass:[EKReminder class]] ? static_cast<EKReminder*>(item) : nil;
    }

    Problem save(EKEvent* event) {
        NSError* error = nil;
        const BOOL done = [store() saveEvent:event span:EKSpanThisEvent commit:YES error:&error];
        return failureOf(done, error);
    }

    Problem save(EKReminder* reminder) {
        NSError* error = nil;
        const BOOL done = [store() saveReminder:reminder commit:YES error:&error];
        return failureOf(done, error);
    }

    /// Guards a `body` that saves, and resets the store if it fails: otherwise the next search
    /// would find the unsaved item, and the next save would store it as well.
    template <typename Body>
    std::invoke_result_t<Body, Problem&> saved(const Body& body) {
        return guarded([&](Problem& problem) {
            std::invoke_result_t<Body, Problem&> result{};
            problem = attempt([&](Problem& failure) { result = body(failure); });
            if (problem) {
                attempt([&](Problem&) { reset(); });
            }
            return result;
        });
    }

    Owned<EKEventStore> store_;
    std::array<bool, 2> accessible_{}; ///< by type, when the store was created or last reset

    /// The callback of the latest fetch. Weak, because dropping the last reference answers it.
    std::weak_ptr<OneShotCallback> pending_;
    Owned<NSObject> request_; ///< identifies that fetch, to cancel it
};

} // namespace

std::unique_ptr<EventDatabase> openEventDatabase() {
    return std::make_unique<EventKitDatabase>();
}

} // namespace velmiro
