#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/services/Approval.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <functional>
#include <memory>
#include <vector>

/// The tools: one group for each kind of data, in the order in which they are listed.
namespace velmiro {

class EventStore;

/// Returns `calendar_list_events` and `calendar_create_event`. The store must outlive them.
std::vector<MCPStdio::MCPTool> calendarTools(EventStore& store, const Ask& ask);

/// Returns `reminders_list`, `reminders_create` and `reminders_complete`. The store must outlive
/// them.
std::vector<MCPStdio::MCPTool> remindersTools(EventStore& store, const Ask& ask);

/// The platform functions that the contacts tools use. Each use of a tool calls both anew, on any
/// thread and concurrently with others.
struct ContactsPlatform {
    std::function<ContactsAuthorizationStatus()> authorizationStatus;
    std::function<std::unique_ptr<ContactStore>()> openStore;
};

/// Returns `contacts_search`.
std::vector<MCPStdio::MCPTool> contactsTools(const ContactsPlatform& platform);

/// Returns `notes_search` and `notes_create`.
std::vector<MCPStdio::MCPTool> notesTools(const RunScript& run, const Ask& ask);

/// Returns `mail_list`, `mail_read` and `mail_create_draft`.
std::vector<MCPStdio::MCPTool> mailTools(const RunScript& run, const Ask& ask);

} // namespace velmiro
