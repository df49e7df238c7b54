#include "velmiro_mcp/platform/local/LocalStores.hpp"

#include "velmiro_mcp/platform/local/CalendarErrors.hpp"
#include "velmiro_mcp/platform/local/CalendarFolders.hpp"
#include "velmiro_mcp/platform/local/FoundReminder.hpp"
#include "velmiro_mcp/platform/local/calendars/OccurrenceList.hpp"
#include "velmiro_mcp/platform/local/calendars/Occurrences.hpp"
#include "velmiro_mcp/platform/local/editing/EventText.hpp"
#include "velmiro_mcp/platform/local/editing/ReminderText.hpp"
#include "velmiro_mcp/platform/local/files/Random.hpp"

#include <chrono>
#include <system_error>
#include <utility>

namespace velmiro::local {
namespace {

Calendar calendarOf(const Collection& collection) {
    return {collection.folder, collection.title};
}

std::optional<Calendar> firstWritable(EntityType type) {
    const auto collection = CalendarFolders::firstWritable(type);
    return collection ? std::optional{calendarOf(*collection)} : std::nullopt;
}

/// Adds a file for a new item and returns the item's UID, for which `textFor` writes the file.
template <typename TextFor>
std::string addItem(EntityType type, const Calendar& calendar, const TextFor& textFor) {
    for (;;) {
        std::string uid = randomUUID();
        const std::string text = reading("the time zones", [&] { return textFor(uid); });
        const std::error_code error =
            CalendarFolders::createItem(type, calendar, uid + ".ics", text);
        if (!error) {
            return uid;
        }
        if (error != std::errc::file_exists) {
            throw cannotWrite(nameOf(type, calendar.title), error);
        }
    }
}

Reminder recordOf(const StoredReminder& reminder, const Collection& list, const std::string& item,
                  UserClock& clock) {
    return {reminder.identifier, reminder.title,           list.title,     reminder.completed,
            reminder.priority,   dueDate(reminder, clock), reminder.notes, storedAt(list, item)};
}

bool isWanted(const ReminderQuery& query, const StoredReminder& reminder, UserClock& clock) {
    if (query.includeCompleted) {
        return true;
    }
    if (!reminder.isOpen() || !query.dueBefore) {
        return reminder.isOpen();
    }
    const auto due = dueDate(reminder, clock);
    return due && *due < *query.dueBefore;
}

/// Calendars as folders of files. The name of a calendar's folder is its identifier.
class LocalEventDatabase final : public EventDatabase {
public:
    AuthorizationStatus authorizationStatus(EntityType type) override {
        return CalendarFolders::isAccessible(type) ? AuthorizationStatus::fullAccess
                                                   : AuthorizationStatus::denied;
    }

    std::vector<Calendar> calendars(EntityType type) override {
        std::vector<Calendar> found;
        for (const Collection& collection : CalendarFolders::collections(type)) {
            found.push_back(calendarOf(collection));
        }
        return found;
    }

    std::optional<Calendar> defaultCalendarForNewEvents() override {
        return firstWritable(EntityType::event);
    }

    std::optional<Calendar> defaultListForNewReminders() override {
        return firstWritable(EntityType::reminder);
    }

    std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) override {
        OccurrenceList list;
        UserClock clock;
        const auto addEvents = [&](const CalendarFolders::File& file) {
            const std::shared_ptr<const std::vector<StoredEvent>> events{file.contents,
                                                                         &file.contents->events};
            WorkBudget budget{stepsOfFile(events->size())};
            const auto found = occurrences(*events, {start, end}, clock, budget);
            list.add(found, events, file.collection.title);
            return true;
        };
        folders_.forEachFile(EntityType::event, calendar, addEvents);
        return list.take();
    }

    std::string saveEvent(const NewEvent& event, const Calendar& calendar) override {
        return addItem(EntityType::event, calendar, [&](const std::string& uid) {
            return eventFileText(event, uid, currentInstant());
        });
    }

    void fetchReminders(const ReminderQuery& query, RemindersFound found) override {
        std::vector<Reminder> reminders;
        UserClock clock;
        const auto addReminders = [&](const CalendarFolders::File& file) {
            for (const StoredReminder& reminder : file.contents->reminders) {
                if (reminders.size() < query.most && reminder.isListed() &&
                    isWanted(query, reminder, clock)) {
                    reminders.push_back(recordOf(reminder, file.collection, file.item, clock));
                }
            }
            return reminders.size() < query.most;
        };
        folders_.forEachFile(EntityType::reminder, query.list, addReminders);
        found(std::move(reminders));
    }

    std::optional<Reminder> reminder(const std::string& identifier) override {
        const auto found = findReminder(folders_, identifier);
        if (!found) {
            return std::nullopt;
        }
        UserClock clock;
        return recordOf(found->stored(), found->collection, found->item, clock);
    }

    std::string saveReminder(const NewReminder& reminder, const Calendar& list) override {
        return addItem(EntityType::reminder, list, [&](const std::string& uid) {
            return reminderFileText(reminder, uid, currentInstant());
        });
    }

    bool completeReminder(const std::string& identifier, const std::string& storedAt) override {
        return local::completeReminder(folders_, identifier, storedAt);
    }

private:
    CalendarFolders folders_;
};

} // namespace

std::unique_ptr<EventDatabase> openCalendarFolders() {
    return std::make_unique<LocalEventDatabase>();
}

} // namespace velmiro::local
