#include "velmiro_mcp/EventStore.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/Dates.hpp"

#include <algorithm>
#include <utility>

namespace velmiro {
namespace {

using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using MCPStdio::Task;

constexpr std::size_t mostEvents = 200;
constexpr std::size_t longestEventNotes = 500; // in characters as the user counts them

/// How messages speak of a type of items.
struct Wording {
    std::string_view access;   ///< the section of the settings
    std::string_view calendar; ///< what holds such items
};

Wording wordingFor(EntityType type) {
    return type == EntityType::event ? Wording{"Calendars", "calendar"}
                                     : Wording{"Reminders", "list"};
}

std::string dateTextOrEmpty(const std::optional<Instant>& date) {
    return date ? dateText(*date) : std::string{};
}

JSONValue eventRecord(const Event& event) {
    auto record = JSONValue::object({
        {"id", event.identifier},
        {"title", event.title.value_or("")},
        {"start", dateTextOrEmpty(event.start)},
        {"end", dateTextOrEmpty(event.end)},
        {"all_day", event.allDay},
        {"calendar", event.calendar.value_or("")},
    });
    if (event.location && !event.location->empty()) {
        record.set("location", *event.location);
    }
    if (event.notes && !event.notes->empty()) {
        record.set("notes", firstCharacters(*event.notes, longestEventNotes));
    }
    return record;
}

} // namespace

EventStore& EventStore::shared() {
    static auto* const store = new EventStore{openEventDatabase()}; // outlives every thread
    return *store;
}

/// Throws unless the user gave full access. It is never asked for here: that is the host's part.
void EventStore::checkAccess(EntityType type) {
    if (store_->authorizationStatus(type) != AuthorizationStatus::fullAccess) {
        throw MCPToolError{"Velmiro has no full access to " + std::string{wordingFor(type).access} +
                           ". Ask the user to turn it on in Velmiro › Settings › Connectors."};
    }
}

/// The first calendar with this title; nothing when no name was given. Throws when none has it.
std::optional<Calendar> EventStore::calendarNamed(const std::optional<std::string>& name,
                                                  EntityType type) {
    if (!name) {
        return std::nullopt;
    }
    auto calendars = store_->calendars(type);
    std::string known;
    std::string_view separator;
    for (Calendar& calendar : calendars) {
        if (equalIgnoringCase(calendar.title, *name)) {
            return std::move(calendar);
        }
        known.append(std::exchange(separator, ", ")).append(calendar.title);
    }
    throw MCPToolError{"no " + std::string{wordingFor(type).calendar} + " named ‘" + *name +
                       "’. Known: " + known};
}

Task<JSONValue> EventStore::events(Instant start, Instant end,
                                   std::optional<std::string> calendarName) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::event);
    const auto calendar = calendarNamed(calendarName, EntityType::event);
    auto found = store_->events(start, end, calendar ? &*calendar : nullptr);
    std::ranges::stable_sort(found, {}, &Event::start);
    found.resize(std::min(found.size(), mostEvents));
    auto records = JSONValue::array();
    for (const Event& event : found) {
        records.append(eventRecord(event));
    }
    co_return std::move(records);
}

Task<std::string> EventStore::createEvent(NewEvent event, std::optional<std::string> calendarName) {
    const auto turn = co_await actor_.enter();
    checkAccess(EntityType::event);
    auto calendar = calendarNamed(calendarName, EntityType::event);
    if (!calendar) {
        calendar = store_->defaultCalendarForNewEvents();
    }
    if (!calendar) {
        throw MCPToolError{"there is no calendar to add to"};
    }
    co_return store_->saveEvent(event, *calendar);
}

} // namespace velmiro
