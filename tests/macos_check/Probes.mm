#include "tests/macos_check/Probes.hpp"

#include "velmiro_mcp/platform/macos/Items.hpp"
#include "velmiro_mcp/platform/macos/Owned.hpp"

#include <algorithm>
#include <array>
#include <set>

#import "tests/macos_check/EventKitRest.h"

namespace velmiro::check {
namespace {

using namespace macos;

std::string kindOf(NSInteger sourceType) {
    constexpr std::array kinds{"on this Mac", "Exchange",   "CalDAV or iCloud",
                               "MobileMe",    "subscribed", "birthdays"};
    const auto index = static_cast<std::size_t>(sourceType);
    return index < kinds.size() ? kinds.at(index) : "kind " + std::to_string(sourceType);
}

/// Finds an item by its identifier in a new store and passes it to `removal`.
template <typename Item, typename Removal>
std::string removed(const std::string& identifier, const Removal& removal) {
    const Problem problem = attempt([&](Problem& why) {
        const Owned<EKEventStore> store{[[EKEventStore alloc] init]};
        EKCalendarItem* const item = [store.get() calendarItemWithIdentifier:stringOf(identifier)];
        if (![item isKindOfClass:[Item class]]) {
            why = "it is not found";
            return;
        }
        NSError* error = nil;
        if (!removal(store.get(), static_cast<Item*>(item), &error)) {
            why = descriptionOf(error);
        }
    });
    return problem.value_or("");
}

struct Witness {
    bool& destroyed;
    ~Witness() { destroyed = true; }
};

} // namespace

std::optional<Instant> endOfUnsavedAllDayEvent(Instant start, Instant end) {
    return guarded([&](Problem&) {
        const Owned<EKEventStore> store{[[EKEventStore alloc] init]};
        EKEvent* const made = [EKEvent eventWithEventStore:store.get()];
        made.startDate = dateOf(start);
        made.endDate = dateOf(end);
        made.allDay = YES;
        return instantOf(made.endDate);
    });
}

StoreView viewOfStoreMadeBefore(EntityType type, const std::function<void()>& meanwhile) {
    const auto kind = type == EntityType::event ? EKEntityTypeEvent : EKEntityTypeReminder;
    Owned<EKEventStore> store;
    attempt([&](Problem&) { store = Owned{[[EKEventStore alloc] init]}; });
    meanwhile();
    return guarded([&](Problem&) {
        StoreView view;
        view.before = [store.get() calendarsForEntityType:kind].count;
        [store.get() reset];
        view.after = [store.get() calendarsForEntityType:kind].count;
        return view;
    });
}

std::vector<Account> accounts() {
    return guarded([](Problem&) {
        const Owned<EKEventStore> store{[[EKEventStore alloc] init]};
        std::vector<Account> found;
        std::set<std::string> kinds;
        for (EKCalendar* calendar in [store.get() calendarsForEntityType:EKEntityTypeEvent]) {
            const std::string kind = kindOf(calendar.source.sourceType);
            if (calendar.allowsContentModifications && kinds.insert(kind).second) {
                found.push_back({kind, recordOf(calendar)});
            }
        }
        return found;
    });
}

std::string removeEvent(const std::string& identifier) {
    return removed<EKEvent>(identifier, [](EKEventStore* store, EKEvent* event, NSError** error) {
        return [store removeEvent:event span:EKSpanThisEvent commit:YES error:error];
    });
}

std::string removeReminder(const std::string& identifier) {
    return removed<EKReminder>(identifier,
                               [](EKEventStore* store, EKReminder* reminder, NSError** error) {
                                   return [store removeReminder:reminder commit:YES error:error];
                               });
}

Unwound exceptionThroughCpp() {
    Unwound unwound;
    const Problem problem = attempt([&](Problem&) {
        const Witness witness{unwound.destroyed};
        std::vector<std::string> texts{"b", "a", "c"};
        std::ranges::sort(texts, [](const std::string& left, const std::string& right) {
            NSArray<NSString*>* const none = @[];
            return left < right && [none objectAtIndex:9].length > 0;
        });
    });
    unwound.reason = problem.value_or("");
    return unwound;
}

} // namespace velmiro::check
