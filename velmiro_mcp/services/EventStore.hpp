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

/// The one place that touches the user's database of events and reminders: it checks access, finds
/// calendars and lists by name, and turns what the platform gives into the records that tools
/// answer with.
///
/// An actor: its operations run one at a time. Nothing is kept between calls; calendars, defaults
/// and access are looked up afresh. Failures meant for the agent are thrown as MCPToolError, what
/// the platform reports while saving as PlatformError.
class EventStore {
public:
    /// Reminders that the database has not found after `patience` are given up, with an error.
    explicit EventStore(std::unique_ptr<EventDatabase> database,
                        std::chrono::milliseconds patience = std::chrono::seconds{30})
        : store_{std::move(database)},
          patience_{patience} {}

    /// The store of the user's own database: made on first use, kept for the life of the process.
    static EventStore& shared();

    /// The events that overlap the time from `start` to `end`, of one calendar if named: an array
    /// of records, the earliest 200, by their start.
    MCPStdio::Task<MCPStdio::JSONValue> events(Instant start, Instant end,
                                               std::optional<std::string> calendarName);

    /// Adds an event to the calendar named, or to the default one; gives back its identifier.
    MCPStdio::Task<std::string> createEvent(NewEvent event,
                                            std::optional<std::string> calendarName);

    /// The open reminders, of one list if named, or all with `includeCompleted`: an array of
    /// records, the first 300 in the database's order. `dueBefore` narrows the open ones only.
    MCPStdio::Task<MCPStdio::JSONValue> reminders(std::optional<std::string> listName,
                                                  bool includeCompleted,
                                                  std::optional<Instant> dueBefore);

    /// Adds a reminder to the list named, or to the default one; gives back its identifier. It is
    /// due to the minute: seconds are dropped.
    MCPStdio::Task<std::string> createReminder(NewReminder reminder,
                                               std::optional<std::string> listName);

    /// What a user who is to allow a completion is asked about.
    struct ReminderTitle {
        std::string title; ///< empty when the reminder has none
        std::string place; ///< the database's own word for where it is
    };

    /// Fails when there is no such reminder, or when there are several.
    MCPStdio::Task<ReminderTitle> reminderTitle(std::string identifier);

    /// Marks a reminder completed, also one that is already. Fails when there is none, when there
    /// are several, and when the one there is stands in another place than was asked about.
    MCPStdio::Task<void> completeReminder(std::string identifier, std::string place = {});

private:
    void checkAccess(EntityType type);
    std::optional<Calendar> calendarNamed(const std::optional<std::string>& name, EntityType type);
    MCPStdio::Task<std::vector<Reminder>> fetched(ReminderQuery query);

    MCPStdio::Actor actor_;
    const std::unique_ptr<EventDatabase> store_; ///< used within a turn of the actor only
    const std::chrono::milliseconds patience_;
};

} // namespace velmiro
