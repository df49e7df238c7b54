#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/ports/LocalizedDates.hpp"

#include "velmiro_mcp/AppleTools/Arguments.hpp"
#include "velmiro_mcp/services/EventStore.hpp"

namespace velmiro {
namespace {

using MCPStdio::MCPTool;
using MCPStdio::MCPToolResult;
using MCPStdio::Task;

constexpr IntegerRule priorityRule{0, 0, 9};

Task<MCPToolResult> listReminders(EventStore& store, JSONValue arguments) {
    auto list = optionalString("list", arguments);
    const bool includeCompleted = flag("include_completed", arguments);
    const auto dueBefore = optionalDate("due_before", arguments);

    auto finding = store.reminders(std::move(list), includeCompleted, dueBefore);
    auto records = co_await std::move(finding);
    const auto payload = JSONValue::object({{"reminders", std::move(records)}});
    co_return MCPToolResult::json(payload);
}

Task<MCPToolResult> createReminder(EventStore& store, Ask ask, JSONValue arguments) {
    NewReminder reminder;
    reminder.title = requiredString("title", arguments);
    reminder.due = optionalDate("due", arguments);
    reminder.priority = static_cast<int>(integer("priority", arguments, priorityRule));

    // Shows the time even if only a day was given: the reminder gets a due time as well.
    const std::string summary =
        reminder.title + (reminder.due ? " — " + localizedDateTime(*reminder.due) : "");
    auto question = ask("reminders_create", summary);
    const bool allowed = co_await std::move(question);
    if (!allowed) {
        co_return denial(summary);
    }

    auto list = optionalString("list", arguments);
    reminder.notes = optionalString("notes", arguments);
    auto creating = store.createReminder(std::move(reminder), std::move(list));
    const auto identifier = co_await std::move(creating);
    const auto payload = JSONValue::object({{"created", true}, {"id", identifier}});
    co_return MCPToolResult::json(payload);
}

Task<MCPToolResult> completeReminder(EventStore& store, Ask ask, JSONValue arguments) {
    const auto identifier = requiredString("id", arguments);
    auto lookUp = store.reminderTitle(identifier);
    const auto asked = co_await std::move(lookUp);
    auto question = ask("reminders_complete", asked.title);
    const bool allowed = co_await std::move(question);
    if (!allowed) {
        co_return denial(asked.title);
    }
    auto completing = store.completeReminder(identifier, asked.storedAt);
    co_await std::move(completing);
    const auto payload = JSONValue::object({{"completed", true}});
    co_return MCPToolResult::json(payload);
}

JSONValue listSchema() {
    auto properties = JSONValue::object({
        {"list", textProperty("Only this list (by name).")},
        {"include_completed", flagProperty()},
        {"due_before", dateProperty()},
    });
    return schema(std::move(properties), {});
}

JSONValue createSchema() {
    auto priority = integerProperty(priorityRule.lowest, priorityRule.highest);
    priority.set("description", "0 none, 1 high … 9 low");
    auto properties = JSONValue::object({
        {"title", textProperty()},
        {"due", dateProperty()},
        {"list", textProperty()},
        {"notes", textProperty()},
        {"priority", std::move(priority)},
    });
    return schema(std::move(properties), {"title"});
}

JSONValue completeSchema() {
    auto properties = JSONValue::object({{"id", textProperty()}});
    return schema(std::move(properties), {"id"});
}

} // namespace

std::vector<MCPTool> remindersTools(EventStore& store, const Ask& ask) {
    return {
        {"reminders_list", "List the user's reminders (by default the ones not completed).",
         listSchema(), true,
         [&store](JSONValue arguments) { return listReminders(store, std::move(arguments)); }},
        {"reminders_create", "Add a reminder. The user is asked to allow it first.", createSchema(),
         false,
         [&store, ask](JSONValue arguments) {
             return createReminder(store, ask, std::move(arguments));
         }},
        {"reminders_complete",
         "Mark a reminder completed (id from reminders_list). The user is asked to allow it first.",
         completeSchema(), false,
         [&store, ask](JSONValue arguments) {
             return completeReminder(store, ask, std::move(arguments));
         }},
    };
}

} // namespace velmiro
