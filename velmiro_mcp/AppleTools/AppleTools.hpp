#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/ports/ContactStore.hpp"
#include "velmiro_mcp/services/Approval.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <functional>
#include <memory>
#include <vector>

/// The tools, one group for each kind of data, in the order in which they are listed.
namespace velmiro {

class EventStore;

/// `calendar_list_events` and `calendar_create_event`. The store must outlive them.
std::vector<MCPStdio::MCPTool> calendarTools(EventStore& store, const Ask& ask);

/// `reminders_list`, `reminders_create` and `reminders_complete`. The store must outlive them.
std::vector<MCPStdio::MCPTool> remindersTools(EventStore& store, const Ask& ask);

/// What the contacts tools ask of the platform: both are called anew by every call of a tool, on
/// any thread, many at once.
struct ContactsPlatform {
    std::function<ContactsAuthorizationStatus()> authorizationStatus;
    std::function<std::unique_ptr<ContactStore>()> openStore;
};

/// `contacts_search`.
std::vector<MCPStdio::MCPTool> contactsTools(const ContactsPlatform& platform);

/// `notes_search` and `notes_create`.
std::vector<MCPStdio::MCPTool> notesTools(const RunScript& run, const Ask& ask);

/// `mail_list`, `mail_read` and `mail_create_draft`.
std::vector<MCPStdio::MCPTool> mailTools(const RunScript& run, const Ask& ask);

} // namespace velmiro
