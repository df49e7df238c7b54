#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include "velmiro_mcp/base/WholeDays.hpp"
#include "velmiro_mcp/platform/macos/Answer.hpp"
#include "velmiro_mcp/platform/macos/Items.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <type_traits>

namespace velmiro {
namespace {

using namespace macos;

/// EventKit looks at the first four years of a longer time and leaves out the rest without a word.
constexpr std::chrono::days longestSearch{4 * 365};

constexpr std::size_t all = std::numeric_limits<std::size_t>::max();

std::size_t indexOf(EntityType type) {
    return static_cast<std::size_t>(type);
}

EKEntityType entityType(EntityType type) {
    return type == EntityType::event ? EKEntityTypeEvent : EKEntityTypeReminder;
}

/// NO alone is no failure: that is also what saving something unchanged gives.
Problem failureOf(BOOL saved, NSError* error) {
    return !saved && error != nil ? Problem{descriptionOf(error)} : std::nullopt;
}

/// EventKit lets an all-day event last through the day that its end is on. The midnight after its
/// last day would give it one day more.
Instant endFor(const NewEvent& event) {
    return event.allDay ? lastSecond(wholeDays(event.start, event.end)) : event.end;
}

Problem gone(const Calendar& calendar) {
    return "‘" + calendar.title + "’ is not there any more";
}

/// The user's calendars and reminders. Nothing that was fetched is kept: it would be stale as soon
/// as another program changes something. Only the store lives on, as EventKit wants it.
class EventKitDatabase final : public EventDatabase {
public:
    AuthorizationStatus authorizationStatus(EntityType type) override {
        return guarded([&](Problem&) {
            const auto status = statusOf(type);
            noticeAccess(type, status);
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
            NSArray<EKCalendar*>* const among = filter(EntityType::event, calendar);
            std::vector<Event> found;
            for (Instant from = start; from < end; from += longestSearch) {
                const Instant to = std::min<Instant>(end, from + longestSearch);
                for (Event& event : eventsBetween(from, to, among)) {
                    // One that began earlier was found by the search before.
                    if (from == start || event.start >= from) {
                        found.push_back(std::move(event));
                    }
                }
            }
            return found;
        });
    }

    std::string saveEvent(const NewEvent& event, const Calendar& calendar) override {
        const Instant end = endFor(event);
        return saved([&](Problem& problem) {
            EKEvent* const made = [EKEvent eventWithEventStore:store()];
            made.title = stringOf(event.title);
            made.startDate = dateOf(event.start);
            made.endDate = dateOf(end);
            made.allDay = event.allDay;
            made.location = stringOrNil(event.location);
            made.notes = stringOrNil(event.notes);
            EKCalendar* const target = calendarFor(EntityType::event, calendar);
            made.calendar = target;
            problem = target == nil ? gone(calendar) : save(made);
            return textOrEmpty(made.calendarItemIdentifier);
        });
    }

    void fetchReminders(const ReminderQuery& query, RemindersFound found) override {
        const auto answer = std::make_shared<Answer>(std::move(found));
        const Problem problem = attempt([&](Problem&) {
            NSArray<EKCalendar*>* const among = filter(EntityType::reminder, query.list);
            if (matchesNone(among)) {
                answer->give(std::vector<Reminder>{});
                return;
            }
            endFetch();
            const std::shared_ptr<Answer> shared = answer; // blocks copy values, not references
            const std::size_t most = query.most;
            request_.keep([store()
                fetchRemindersMatchingPredicate:predicateFor(query, among)
                                     completion:^(NSArray<EKReminder*>* reminders) {
                                       answerWith(*shared, reminders, most);
                                     }]);
            pending_ = answer;
        });
        if (problem && answer->claim()) {
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
            EKReminder* const made = [EKReminder reminderWithEventStore:store()];
            made.title = stringOf(reminder.title);
            made.notes = stringOrNil(reminder.notes);
            made.priority = static_cast<NSUInteger>(reminder.priority);
            if (reminder.due) {
                made.dueDateComponents = dueDateComponents(*reminder.due);
            }
            EKCalendar* const target = calendarFor(EntityType::reminder, list);
            made.calendar = target;
            problem = target == nil ? gone(list) : save(made);
            return textOrEmpty(made.calendarItemIdentifier);
        });
    }

    /// The framework's identifiers name one reminder each, so its place says no more.
    bool completeReminder(const std::string& identifier, const std::string& /*place*/) override {
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

    /// Made at the first use. Of a type without access it holds no items.
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

    /// What the user has allowed since the store was made it may not hold until it is reset.
    void noticeAccess(EntityType type, AuthorizationStatus status) {
        bool& accessible = accessible_.at(indexOf(type));
        if (status != AuthorizationStatus::fullAccess) {
            accessible = false;
        } else if (!accessible && store_.get() != nil) { // if that fails, tried again the next time
            accessible = !attempt([&](Problem&) { reset(); });
        }
    }

    /// Has the store forget all that it knows; never while it fetches.
    void reset() {
        endFetch();
        [store() reset];
    }

    /// A fetch that has not been answered when another operation begins was given up.
    void endFetch() {
        const auto answer = pending_.lock();
        if (answer != nullptr && !answer->isGiven()) {
            attempt([&](Problem&) { [store() cancelFetchRequest:request_.get()]; });
        }
        pending_.reset();
        request_.keep(nil);
    }

    /// Nil when it is not there any more.
    EKCalendar* calendarFor(EntityType type, const Calendar& calendar) {
        NSString* const identifier = stringOf(calendar.identifier);
        for (EKCalendar* candidate in [store() calendarsForEntityType:entityType(type)]) {
            if ([candidate.calendarIdentifier isEqualToString:identifier]) {
                return candidate;
            }
        }
        return nil;
    }

    /// What a search takes for one calendar, or, as nil, for all. Of one that is not there any more
    /// it is an empty array, which the framework would take for all as well.
    NSArray<EKCalendar*>* filter(EntityType type, const Calendar* calendar) {
        if (calendar == nullptr) {
            return nil;
        }
        EKCalendar* const one = calendarFor(type, *calendar);
        return one == nil ? @[] : @[ one ];
    }

    static bool matchesNone(NSArray<EKCalendar*>* among) {
        return among != nil && among.count == 0;
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

    /// On whichever thread the framework chose. A missing array is no answer.
    static void answerWith(Answer& answer, NSArray<EKReminder*>* reminders, std::size_t most) {
        std::optional<std::vector<Reminder>> found;
        attempt([&](Problem&) {
            if (reminders != nil) {
                found = recordsOf<Reminder, EKReminder>(reminders, most);
            }
        });
        answer.give(std::move(found));
    }

    /// Nil when there is none, or when it is an event.
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

    /// Guards a `body` that saves. What could not be saved is forgotten, or the store would show it
    /// to the next search, and save it with the next item.
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
    std::array<bool, 2> accessible_{}; ///< by type, when the store was made or last reset

    std::weak_ptr<Answer> pending_; ///< to the latest fetch; weak, for dropping it is an answer
    Owned<NSObject> request_;       ///< by which that can be cancelled
};

} // namespace

std::unique_ptr<EventDatabase> openEventDatabase() {
    return std::make_unique<EventKitDatabase>();
}

} // namespace velmiro
