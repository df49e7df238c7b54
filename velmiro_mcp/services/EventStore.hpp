#pragma once

#include "MCPStdio/concurrency/Actor.hpp"
#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmiro {

/// Access to the user's events and reminders; no other code touches their database. It checks
/// permission, finds calendars and lists by name, and turns the platform's items into the records
/// that tools return.
///
/// An actor: its operations run one at a time. Nothing is cached between calls; calendars, defaults
/// and access are looked up afresh. Throws MCPToolError for failures that it finds itself; the
/// platform's errors pass through as PlatformError.
class EventStore {
public:
    /// A search for reminders that the database does not answer within `fetchTimeout` fails.
    explicit EventStore(std::unique_ptr<EventDatabase> database,
                        std::chrono::milliseconds fetchTimeout = std::chrono::seconds{30})
        : store_{std::move(database)},
          fetchTimeout_{fetchTimeout} {}

    /// Returns the store of the user's own database, created on first use and kept for the life of
    /// the process.
    static EventStore& shared();

    /// Returns the events that overlap the time from `start` to `end`, of all calendars or of the
    /// one named: an array of records, sorted by start, at most the first 200.
    MCPStdio::Task<MCPStdio::JSONValue> events(Instant start, Instant end,
                                               std::optional<std::string> calendarName);

    /// Adds an event to the calendar named, or else to the default one. Returns its identifier.
    MCPStdio::Task<std::string> createEvent(NewEvent event,
                                            std::optional<std::string> calendarName);

    /// Returns the open reminders, or all if `includeCompleted`, of all lists or of the one named:
    /// an array of records in the database's order, at most the first 300. `dueBefore` selects
    /// among the open ones; with `includeCompleted` it has no effect.
    MCPStdio::Task<MCPStdio::JSONValue> reminders(std::optional<std::string> listName,
                                                  bool includeCompleted,
                                                  std::optional<Instant> dueBefore);

    /// Adds a reminder to the list named, or else to the default one. Returns its identifier. The
    /// seconds of its due date are dropped.
    MCPStdio::Task<std::string> createReminder(NewReminder reminder,
                                               std::optional<std::string> listName);

    /// A reminder as the user is asked about it, before it is completed.
    struct ReminderTitle {
        std::string title;    ///< empty if the reminder has none
        std::string storedAt; ///< meaningful only to the database
    };

    /// Throws if there is no such reminder, or if there are several.
    MCPStdio::Task<ReminderTitle> reminderTitle(std::string identifier);

    /// Marks a reminder as completed, even if it already is. Throws if there is none, if there are
    /// several, and if it is no longer stored where it was when the user was asked.
    MCPStdio::Task<void> completeReminder(std::string identifier, std::string storedAt = {});

private:
    void checkAccess(EntityType type);
    std::optional<Calendar> calendarNamed(const std::optional<std::string>& name, EntityType type);
    MCPStdio::Task<std::vector<Reminder>> fetchReminders(ReminderQuery query);

    MCPStdio::Actor actor_;
    const std::unique_ptr<EventDatabase> store_; ///< used only in a turn of the actor
    const std::chrono::milliseconds fetchTimeout_;
};

} // namespace velmiro
