#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"

#include "velmiro_mcp/AppleTools/Arguments.hpp"
#include "velmiro_mcp/base/Dates.hpp"
#include "velmiro_mcp/services/EventStore.hpp"

namespace velmiro {
namespace {

using MCPStdio::MCPTool;
using MCPStdio::MCPToolError;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;
using std::chrono::days;
using std::chrono::minutes;

constexpr IntegerRule daysRule{1, 1, 62};
constexpr std::int64_t longestMinutes = 10080;

void requireOrder(Instant start, Instant end) {
    if (end <= start) {
        throw MCPToolError{"‘end’ must be after ‘start’"};
    }
}

Task<MCPToolResult> listEvents(EventStore& store, JSONValue arguments) {
    const auto givenStart = optionalDate("start", arguments);
    const Instant start = givenStart ? *givenStart : startOfToday();
    const std::int64_t dayCount = integer("days", arguments, daysRule);
    // These days have 24 hours: if the clock changes, the default end is an hour off midnight.
    const Instant end = optionalDate("end", arguments).value_or(start + days{dayCount});
    requireOrder(start, end);
    auto calendar = optionalString("calendar", arguments);

    auto finding = store.events(start, end, std::move(calendar));
    auto records = co_await std::move(finding);
    const auto payload = JSONValue::object({{"events", std::move(records)}});
    co_return MCPToolResult::json(payload);
}

Task<MCPToolResult> createEvent(EventStore& store, Ask ask, JSONValue arguments) {
    NewEvent event;
    event.title = requiredString("title", arguments);
    event.start = requiredDate("start", arguments);
    event.allDay = flag("all_day", arguments);
    const IntegerRule durationRule{event.allDay ? 1440 : 60, 1, longestMinutes};
    const minutes duration{integer("duration_minutes", arguments, durationRule)};
    event.end = optionalDate("end", arguments).value_or(event.start + duration);
    requireOrder(event.start, event.end);

    const std::string summary =
        event.title + " — " +
        (event.allDay ? localizedDate(event.start) : localizedDateTime(event.start));
    auto question = ask("calendar_create_event", summary);
    const bool allowed = co_await std::move(question);
    if (!allowed) {
        co_return denial(summary);
    }

    event.location = optionalString("location", arguments);
    event.notes = optionalString("notes", arguments);
    auto calendar = optionalString("calendar", arguments);
    auto creating = store.createEvent(std::move(event), std::move(calendar));
    const auto identifier = co_await std::move(creating);
    const auto payload = JSONValue::object({{"created", true}, {"id", identifier}});
    co_return MCPToolResult::json(payload);
}

JSONValue listSchema() {
    auto dayCount = integerProperty(daysRule.lowest, daysRule.highest);
    dayCount.set("description", "Days from start when end is not given (1–62).");
    auto properties = JSONValue::object({
        {"start", dateProperty()},
        {"end", dateProperty()},
        {"days", std::move(dayCount)},
        {"calendar", textProperty("Only this calendar (by name).")},
    });
    return schema(std::move(properties), {});
}

JSONValue createSchema() {
    auto properties = JSONValue::object({
        {"title", textProperty()},
        {"start", dateProperty()},
        {"end", dateProperty()},
        {"duration_minutes", integerProperty(1, longestMinutes)},
        {"all_day", flagProperty()},
        {"location", textProperty()},
        {"notes", textProperty()},
        {"calendar", textProperty()},
    });
    return schema(std::move(properties), {"title", "start"});
}

} // namespace

std::vector<MCPTool> calendarTools(EventStore& store, const Ask& ask) {
    return {
        {"calendar_list_events",
         "List events in the user's calendars between two dates (default: today).", listSchema(),
         true, [&store](JSONValue arguments) { return listEvents(store, std::move(arguments)); }},
        {"calendar_create_event",
         "Add an event to the user's calendar. The user is asked to allow it first.",
         createSchema(), false,
         [&store, ask](JSONValue arguments) {
             return createEvent(store, ask, std::move(arguments));
         }},
    };
}

} // namespace velmiro
