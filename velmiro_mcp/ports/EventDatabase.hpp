#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The port to the user's calendars and reminders.
namespace velmiro {

/// What a calendar holds. The values are the platform's own numbers.
enum class EntityType { event = 0, reminder = 1 };

/// How much access the user has granted to a database. The values are the platform's own numbers.
enum class AuthorizationStatus {
    notDetermined = 0,
    restricted = 1,
    denied = 2,
    fullAccess = 3,
    writeOnly = 4,
};

/// A calendar or a reminder list.
struct Calendar {
    std::string identifier; ///< meaningful only to the database that returned it
    std::string title;
};

/// One event, or one occurrence of a recurring one, as stored in the database.
struct Event {
    std::string identifier; ///< shared by all occurrences of a series
    std::optional<std::string> title;
    std::optional<Instant> start;
    std::optional<Instant> end; ///< of an all-day event: the platform's idea of its last day's end
    bool allDay = false;
    std::optional<std::string> calendar; ///< the title of its calendar
    std::optional<std::string> location;
    std::optional<std::string> notes;
};

/// An event to create; `start` is before `end`. An all-day event covers the days that `wholeDays`
/// returns for the two.
struct NewEvent {
    std::string title;
    Instant start;
    Instant end;
    bool allDay = false;
    std::optional<std::string> location;
    std::optional<std::string> notes;
};

/// One reminder, as stored in the database.
struct Reminder {
    std::string identifier;
    std::optional<std::string> title;
    std::optional<std::string> list; ///< the title of its list
    bool completed = false;
    int priority = 0; ///< 0 none, 1 high … 9 low
    std::optional<Instant> due;
    std::optional<std::string> notes;
    std::string storedAt{}; ///< meaningful only to the database; may be empty
};

/// A reminder to create.
struct NewReminder {
    std::string title;
    std::optional<std::string> notes;
    int priority = 0;           ///< 0 to 9
    std::optional<Instant> due; ///< a whole minute
};

/// Selects reminders.
struct ReminderQuery {
    bool includeCompleted = false;    ///< all reminders, whatever their due date
    std::optional<Instant> dueBefore; ///< else the open ones due before this, or all open ones
    const Calendar* list = nullptr;   ///< only this list; null for all lists
    /// Returns at most this many, the first in the database's order: of thousands of completed
    /// reminders the rest is not even converted.
    std::size_t most = std::numeric_limits<std::size_t>::max();
};

/// Receives the result of a fetch; nullopt if the platform gives no answer.
using RemindersFound = std::function<void(std::optional<std::vector<Reminder>>)>;

/// The platform's calendar database. Its owner calls one operation at a time, on any thread; an
/// operation may block that thread. No returned value refers to the database. All text is valid
/// UTF-8 in both directions.
class EventDatabase {
public:
    EventDatabase() = default;
    EventDatabase(const EventDatabase&) = delete;
    EventDatabase& operator=(const EventDatabase&) = delete;
    virtual ~EventDatabase() = default;

    /// Asks the platform, never the user.
    virtual AuthorizationStatus authorizationStatus(EntityType type) = 0;

    /// Returns all calendars that hold items of `type`, in the database's own order.
    virtual std::vector<Calendar> calendars(EntityType type) = 0;

    /// Returns the calendar for a new event that names none; nullopt if there is no such calendar.
    virtual std::optional<Calendar> defaultCalendarForNewEvents() = 0;

    /// Returns the events of `calendar`, or of all calendars if it is null, that overlap the time
    /// from `start` up to but not including `end`, in no particular order. Skips unreadable items.
    /// If there are more than 50,000, some of the later ones may be missing.
    virtual std::vector<Event> events(Instant start, Instant end, const Calendar* calendar) = 0;

    /// Returns the list for a new reminder that names none; nullopt if there is no such list.
    virtual std::optional<Calendar> defaultListForNewReminders() = 0;

    /// Adds an event to `calendar`, commits it and returns its identifier.
    /// Throws PlatformError if it cannot be stored exactly as given; then nothing was stored.
    virtual std::string saveEvent(const NewEvent& event, const Calendar& calendar) = 0;

    /// Looks for reminders and passes them to `found`, in the database's own order: exactly once,
    /// on any thread, perhaps before this returns. An open reminder without a due date is due
    /// before no date. Skips unreadable items. The owner may abandon a fetch that takes too long,
    /// and use the database again: a late answer does no harm.
    virtual void fetchReminders(const ReminderQuery& query, RemindersFound found) = 0;

    /// Returns the reminder with this identifier; nullopt if there is none, or if it is an event's.
    /// Throws PlatformError if there are several.
    virtual std::optional<Reminder> reminder(const std::string& identifier) = 0;

    /// Adds a reminder to `list`, commits it and returns its identifier. Throws PlatformError if it
    /// cannot be stored exactly as given; then nothing was stored.
    virtual std::string saveReminder(const NewReminder& reminder, const Calendar& list) = 0;

    /// Marks a reminder as completed now, even if it already is, and commits it. Returns false if
    /// there is no such reminder (any more). Throws PlatformError if there are several, if it is no
    /// longer stored at `storedAt` (unless that is empty), and if it cannot be stored; then nothing
    /// was changed, unless the error says that this is unknown.
    virtual bool completeReminder(const std::string& identifier,
                                  const std::string& storedAt = {}) = 0;
};

/// Returns the database of the user who runs the program. Opening it does not access it yet.
std::unique_ptr<EventDatabase> openEventDatabase();

} // namespace velmiro
