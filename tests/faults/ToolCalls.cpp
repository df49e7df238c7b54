#include "tests/faults/ToolCalls.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>

namespace velmiro::test {

const std::vector<ToolCall>& toolCalls() {
    using enum SampleHome::Filling;
    const std::string event =
        R"({"title":"Dentist","start":"2026-10-14T15:00","location":"High Street 1"})";
    const std::string draft = R"({"to":["anna@example.org"],"subject":"Supper","body":"At six?"})";
    static const std::vector<ToolCall> calls{
        {.name = "calendar_list_events",
         .tool = "calendar_list_events",
         .arguments = R"({"start":"2026-10-14","days":7})"},
        {.name = "calendar_create_event",
         .tool = "calendar_create_event",
         .arguments = event,
         .changes = true},
        {.name = "calendar_create_event_in_an_empty_home",
         .tool = "calendar_create_event",
         .arguments = event,
         .filling = empty,
         .changes = true},
        {.name = "reminders_list", .tool = "reminders_list", .arguments = "{}"},
        {.name = "reminders_create",
         .tool = "reminders_create",
         .arguments = R"({"title":"Milk","due":"2026-10-15T09:00"})",
         .changes = true},
        {.name = "reminders_complete",
         .tool = "reminders_complete",
         .arguments = R"({"id":"bread"})",
         .changes = true},
        {.name = "reminders_complete_of_a_series",
         .tool = "reminders_complete",
         .arguments = R"({"id":"water"})",
         .changes = true},
        {.name = "contacts_search", .tool = "contacts_search", .arguments = R"({"query":"ann"})"},
        {.name = "notes_search",
         .tool = "notes_search",
         .arguments = R"({"query":"bread"})",
         .isScript = true},
        {.name = "notes_create",
         .tool = "notes_create",
         .arguments = R"({"title":"Tea","body":"Green & black"})",
         .changes = true,
         .isScript = true},
        {.name = "mail_list", .tool = "mail_list", .arguments = "{}", .isScript = true},
        {.name = "mail_read", .tool = "mail_read", .arguments = R"({"id":ID})", .isScript = true},
        {.name = "mail_create_draft",
         .tool = "mail_create_draft",
         .arguments = draft,
         .changes = true,
         .isScript = true},
        {.name = "mail_create_draft_in_an_empty_home",
         .tool = "mail_create_draft",
         .arguments = draft,
         .filling = empty,
         .changes = true,
         .isScript = true},
    };
    return calls;
}

std::vector<ToolCall> changingCalls() {
    std::vector<ToolCall> changing;
    std::ranges::copy_if(toolCalls(), std::back_inserter(changing), &ToolCall::changes);
    return changing;
}

const std::vector<FileSystem>& fileSystems() {
    static const std::vector<FileSystem> all{
        {.name = "any"},
        {.name = "without_nameless_files", .namelessError = EOPNOTSUPP},
        {.name = "without_exchange", .exchangeError = EINVAL, .namelessError = EOPNOTSUPP},
    };
    return all;
}

bool isSlice() {
    return std::getenv("FAULTS_SLICE") != nullptr;
}

} // namespace velmiro::test
