#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/Approval.hpp"
#include "velmiro_mcp/ScriptRunner.hpp"

#include <vector>

/// The tools, one group for each kind of data, in the order in which they are listed.
namespace velmiro {

class EventStore;

/// `calendar_list_events` and `calendar_create_event`. The store must outlive them.
std::vector<MCPStdio::MCPTool> calendarTools(EventStore& store, const Ask& ask);

/// `reminders_list`, `reminders_create` and `reminders_complete`. The store must outlive them.
std::vector<MCPStdio::MCPTool> remindersTools(EventStore& store, const Ask& ask);

/// `notes_search` and `notes_create`.
std::vector<MCPStdio::MCPTool> notesTools(const RunScript& run, const Ask& ask);

/// `mail_list`, `mail_read` and `mail_create_draft`.
std::vector<MCPStdio::MCPTool> mailTools(const RunScript& run, const Ask& ask);

} // namespace velmiro
