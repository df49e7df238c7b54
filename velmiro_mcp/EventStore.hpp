#pragma once

#include "MCPStdio/JSONValue.hpp"
#include "MCPStdio/concurrency/Actor.hpp"
#include "MCPStdio/concurrency/Task.hpp"
#include "velmiro_mcp/platform/Platform.hpp"

#include <memory>
#include <optional>
#include <string>

namespace velmiro {

/// The one place that touches the user's calendar database: it checks access, finds calendars by
/// name, and turns what the platform gives into the records that tools answer with.
///
/// An actor: its operations run one at a time. Nothing is kept between calls; calendars, defaults
/// and access are looked up afresh. Failures meant for the agent are thrown as MCPToolError, what
/// the platform reports while saving as PlatformError.
class EventStore {
public:
    explicit EventStore(std::unique_ptr<EventDatabase> database) : store_{std::move(database)} {}

    /// The store of the user's own database: made on first use, kept for the life of the process.
    static EventStore& shared();

    /// The events that overlap the time from `start` to `end`, of one calendar if named: an array
    /// of records, the earliest 200, by their start.
    MCPStdio::Task<MCPStdio::JSONValue> events(Instant start, Instant end,
                                               std::optional<std::string> calendarName);

    /// Adds an event to the calendar named, or to the default one; gives back its identifier.
    MCPStdio::Task<std::string> createEvent(NewEvent event,
                                            std::optional<std::string> calendarName);

private:
    void checkAccess(EntityType type);
    std::optional<Calendar> calendarNamed(const std::optional<std::string>& name, EntityType type);

    MCPStdio::Actor actor_;
    const std::unique_ptr<EventDatabase> store_; ///< used within a turn of the actor only
};

} // namespace velmiro
