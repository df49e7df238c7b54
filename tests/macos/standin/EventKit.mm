#include "tests/macos/standin/Objects.hpp"

#include <Block.h>

#include <algorithm>
#include <array>
#include <atomic>

using namespace velmiro;
using namespace velmiro::test;

namespace {

EntityType typeOf(EKEntityType type) {
    return type == EKEntityTypeEvent ? EntityType::event : EntityType::reminder;
}

/// The criteria of a predicate, and the store that created it.
struct Search {
    EKEventStore* store;
    EntityType type;
    bool includeCompleted;
    std::optional<Instant> start, end;
    std::vector<std::optional<Calendar>> calendars; ///< nullopt for all

    Search(EKEventStore* madeBy, EntityType of, bool completed, NSDate* from, NSDate* to,
           NSArray<EKCalendar*>* among)
        : store{madeBy},
          type{of},
          includeCompleted{completed},
          start{test::instantOf(from)},
          end{test::instantOf(to)} {
        for (EKCalendar* calendar in among) {
            calendars.emplace_back(recordOf(calendar));
        }
        if (calendars.empty()) { // the framework treats an empty array like nil
            calendars.emplace_back(std::nullopt);
        }
    }
};

} // namespace

@interface StandInPredicate : NSPredicate {
@public
    Search* search;
}
@end

@implementation StandInPredicate
- (void)dealloc {
    delete search;
    [super dealloc];
}
@end

namespace {

NSPredicate* predicateFor(Search search) {
    StandInPredicate* const made = [[[StandInPredicate alloc] init] autorelease];
    made->search = new Search{std::move(search)};
    return made;
}

/// Returns the criteria of a predicate. Raises, as the framework does, if the predicate is another
/// store's or of another class.
const Search& searchOf(NSPredicate* predicate, EKEventStore* store, EntityType type) {
    if (![predicate isKindOfClass:[StandInPredicate class]]) {
        raise("this predicate was not made by an event store");
    }
    const Search& search = *static_cast<StandInPredicate*>(predicate)->search;
    if (search.store != store || search.type != type) {
        raise("this predicate was made by another store, or for other items");
    }
    return search;
}

void checkStore(EKCalendarItem* item, EKEventStore* store) {
    if (storeOf(item) != store) {
        raise("this item belongs to another store");
    }
}

const Calendar* pointerTo(const std::optional<Calendar>& calendar) {
    return calendar ? &*calendar : nullptr;
}

/// Returns NO with the problem as an error, or YES.
BOOL outcome(const StandIn::Saved& saved, EKCalendarItem* item, NSError** error) {
    if (!saved.problem.empty()) {
        *error = errorWith(saved.problem);
        return NO;
    }
    setIdentifier(item, saved.identifier);
    return YES;
}

/// A completion block and its argument. Dropping this drops the block.
struct Completion {
    using Block = void (^)(NSArray<EKReminder*>*);

    Completion(Block given, NSArray<EKReminder*>* with)
        : block{reinterpret_cast<Block>(_Block_copy(given))},
          reminders{[with retain]} {}
    Completion(const Completion&) = delete;
    Completion& operator=(const Completion&) = delete;
    ~Completion() {
        _Block_release(block);
        [reminders release];
    }

    Block block;
    NSArray<EKReminder*>* reminders;
    std::atomic<bool> isCancelled{false};
    std::atomic<bool> isOver{false}; ///< called, or cancelled
};

/// The types of which a store holds items: those that the user had allowed when it was created or
/// last reset. It does not notice access that is granted later.
struct Snapshot {
    std::array<bool, 2> types{};
    std::vector<std::weak_ptr<Completion>> fetches; ///< some of them may be over

    void take() {
        for (const EntityType type : {EntityType::event, EntityType::reminder}) {
            types.at(static_cast<std::size_t>(type)) =
                StandIn::shared().database->authorizationStatus(type) ==
                AuthorizationStatus::fullAccess;
        }
    }
    [[nodiscard]] bool has(EntityType type) const {
        return types.at(static_cast<std::size_t>(type));
    }
    [[nodiscard]] bool isFetching() const {
        return std::ranges::any_of(fetches, [](const auto& fetch) {
            const auto completion = fetch.lock();
            return completion && !completion->isOver;
        });
    }
};

Snapshot& snapshotOf(EKEventStore* store) {
    return *static_cast<Snapshot*>(store->_implementation);
}

} // namespace

/// The identifier that a fetch returns, by which it is cancelled.
@interface StandInRequest : NSObject {
@public
    std::weak_ptr<Completion>* completion;
}
@end

@implementation StandInRequest
- (void)dealloc {
    delete completion;
    [super dealloc];
}
@end

@implementation EKEventStore
+ (EKAuthorizationStatus)authorizationStatusForEntityType:(EKEntityType)entityType {
    begin("authorizationStatusForEntityType:", std::to_string(entityType));
    const auto status = StandIn::shared().database->authorizationStatus(typeOf(entityType));
    return static_cast<EKAuthorizationStatus>(status);
}

- (instancetype)init {
    begin("EKEventStore init", "");
    self = [super init];
    auto* const snapshot = new Snapshot;
    snapshot->take();
    _implementation = snapshot;
    return self;
}

- (void)dealloc {
    delete &snapshotOf(self);
    [super dealloc];
}

- (NSArray<EKCalendar*>*)calendarsForEntityType:(EKEntityType)entityType {
    begin("calendarsForEntityType:", std::to_string(entityType));
    if (isRefused("calendarsForEntityType:", nullptr)) {
        return nil;
    }
    NSMutableArray<EKCalendar*>* const calendars = [NSMutableArray array];
    if (!snapshotOf(self).has(typeOf(entityType))) {
        return calendars;
    }
    for (const Calendar& calendar : StandIn::shared().database->calendars(typeOf(entityType))) {
        [calendars addObject:calendarObject(calendar)];
    }
    return calendars;
}

- (EKCalendar*)defaultCalendarForNewEvents {
    begin("defaultCalendarForNewEvents", "");
    if (!snapshotOf(self).has(EntityType::event)) {
        return nil;
    }
    const auto calendar = StandIn::shared().database->defaultCalendarForNewEvents();
    return calendar ? calendarObject(*calendar) : nil;
}

- (EKCalendar*)defaultCalendarForNewReminders {
    begin("defaultCalendarForNewReminders", "");
    if (!snapshotOf(self).has(EntityType::reminder)) {
        return nil;
    }
    const auto list = StandIn::shared().database->defaultListForNewReminders();
    return list ? calendarObject(*list) : nil;
}

- (NSPredicate*)predicateForEventsWithStartDate:(NSDate*)startDate
                                        endDate:(NSDate*)endDate
                                      calendars:(NSArray<EKCalendar*>*)calendars {
    begin("predicateForEventsWithStartDate:endDate:calendars:",
          secondsOf(startDate) + " " + secondsOf(endDate) + " " + titlesOf(calendars));
    return predicateFor({self, EntityType::event, false, startDate, endDate, calendars});
}

- (NSArray<EKEvent*>*)eventsMatchingPredicate:(NSPredicate*)predicate {
    begin("eventsMatchingPredicate:", "");
    if (isRefused("eventsMatchingPredicate:", nullptr)) {
        return nil;
    }
    constexpr std::chrono::days fourYears{4 * 365 + 1};
    const Search& search = searchOf(predicate, self, EntityType::event);
    const Instant end = std::min<Instant>(search.end.value(), search.start.value() + fourYears);
    NSMutableArray<EKEvent*>* const found = [NSMutableArray array];
    if (!snapshotOf(self).has(EntityType::event)) {
        return found;
    }
    for (const auto& calendar : search.calendars) {
        for (const Event& event :
             StandIn::shared().database->events(*search.start, end, pointerTo(calendar))) {
            [found addObject:eventObject(event, self)];
        }
    }
    return found;
}

- (NSPredicate*)predicateForRemindersInCalendars:(NSArray<EKCalendar*>*)calendars {
    begin("predicateForRemindersInCalendars:", titlesOf(calendars));
    return predicateFor({self, EntityType::reminder, true, nil, nil, calendars});
}

- (NSPredicate*)predicateForIncompleteRemindersWithDueDateStarting:(NSDate*)startDate
                                                            ending:(NSDate*)endDate
                                                         calendars:
                                                             (NSArray<EKCalendar*>*)calendars {
    begin("predicateForIncompleteRemindersWithDueDateStarting:ending:calendars:",
          secondsOf(startDate) + " " + secondsOf(endDate) + " " + titlesOf(calendars));
    return predicateFor({self, EntityType::reminder, false, startDate, endDate, calendars});
}

- (id)fetchRemindersMatchingPredicate:(NSPredicate*)predicate
                           completion:(void (^)(NSArray<EKReminder*>*))completion {
    begin("fetchRemindersMatchingPredicate:completion:", "");
    const Search& search = searchOf(predicate, self, EntityType::reminder);
    NSMutableArray<EKReminder*>* const reminders = [NSMutableArray array];
    for (const auto& list : search.calendars) {
        if (!snapshotOf(self).has(EntityType::reminder)) {
            break;
        }
        StandIn::shared().database->fetchReminders(
            {search.includeCompleted, search.end, pointerTo(list)}, [&](const auto& found) {
                for (const Reminder& reminder : found.value()) {
                    [reminders addObject:reminderObject(reminder, self)];
                }
            });
    }
    const bool withNil = StandIn::shared().completesWithNil;
    const auto answer = std::make_shared<Completion>(completion, withNil ? nil : reminders);
    StandInRequest* const request = [[[StandInRequest alloc] init] autorelease];
    request->completion = new std::weak_ptr<Completion>{answer};
    snapshotOf(self).fetches.push_back(answer);
    StandIn::shared().deliver([answer] {
        answer->isOver = true;
        if (!answer->isCancelled) {
            answer->block(answer->reminders);
        }
    });
    return request;
}

- (void)cancelFetchRequest:(id)fetchIdentifier {
    begin("cancelFetchRequest:", "");
    if (![fetchIdentifier isKindOfClass:[StandInRequest class]]) {
        raise("this fetch was not begun by an event store");
    }
    if (const auto completion = static_cast<StandInRequest*>(fetchIdentifier)->completion->lock()) {
        completion->isCancelled = true;
        completion->isOver = true;
    }
}

- (EKCalendarItem*)calendarItemWithIdentifier:(NSString*)identifier {
    const std::string wanted = test::textOf(identifier);
    begin("calendarItemWithIdentifier:", wanted);
    if (StandIn::shared().eventIdentifiers.contains(wanted)) {
        return eventObject({wanted, "An event", {}, {}, false, {}, {}, {}}, self);
    }
    if (!snapshotOf(self).has(EntityType::reminder)) {
        return nil;
    }
    const auto reminder = StandIn::shared().database->reminder(wanted);
    return reminder ? reminderObject(*reminder, self) : nil;
}

- (BOOL)saveEvent:(EKEvent*)event span:(EKSpan)span commit:(BOOL)commit error:(NSError**)error {
    begin("saveEvent:span:commit:error:",
          newEvent(event).title + " " + std::to_string(span) + (commit ? " YES" : " NO"));
    checkStore(event, self);
    if (isRefused("saveEvent:span:commit:error:", error)) {
        return NO;
    }
    if (event.calendar == nil) {
        *error = errorWith("No calendar has been set.");
        return NO;
    }
    return outcome(StandIn::shared().save(newEvent(event), recordOf(event.calendar)), event, error);
}

- (BOOL)saveReminder:(EKReminder*)reminder commit:(BOOL)commit error:(NSError**)error {
    begin("saveReminder:commit:error:", newReminder(reminder).title + (commit ? " YES" : " NO"));
    checkStore(reminder, self);
    if (isRefused("saveReminder:commit:error:", error)) {
        return NO;
    }
    const std::string identifier = test::textOf(reminder.calendarItemIdentifier);
    if (!identifier.empty()) { // the only change that the program makes to a stored one
        return outcome(StandIn::shared().complete(identifier), reminder, error);
    }
    if (reminder.calendar == nil) {
        *error = errorWith("No calendar has been set.");
        return NO;
    }
    return outcome(StandIn::shared().save(newReminder(reminder), recordOf(reminder.calendar)),
                   reminder, error);
}

- (void)reset {
    begin("reset", "");
    if (snapshotOf(self).isFetching()) {
        raise("reset while reminders are being fetched");
    }
    snapshotOf(self).take();
}
@end
