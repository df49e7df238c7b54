#include "velmiro_mcp/ToolCatalogue.hpp"

#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/services/Approval.hpp"
#include "velmiro_mcp/services/EventStore.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

namespace velmiro {
namespace {

using Group = std::vector<MCPStdio::MCPTool>;

MCPStdio::Task<bool> askTheUser(std::string tool, std::string summary) {
    return Approval{}.ask(std::move(tool), std::move(summary));
}

MCPStdio::Task<MCPStdio::JSONValue> runScript(std::string script,
                                              std::vector<std::string> arguments,
                                              std::chrono::milliseconds timeout) {
    return ScriptRunner::shared().run(std::move(script), std::move(arguments), timeout);
}

/// Returns a kind's tools, created on first use and kept for the life of the process.
const Group& group(Kind kind) {
    static const Group none;
    switch (kind) {
    case Kind::calendar: {
        static const Group calendar = calendarTools(EventStore::shared(), askTheUser);
        return calendar;
    }
    case Kind::reminders: {
        static const Group reminders = remindersTools(EventStore::shared(), askTheUser);
        return reminders;
    }
    case Kind::contacts: {
        static const Group contacts =
            contactsTools({contactsAuthorizationStatus, openContactStore});
        return contacts;
    }
    case Kind::notes: {
        static const Group notes = notesTools(runScript, askTheUser);
        return notes;
    }
    case Kind::mail: {
        static const Group mail = mailTools(runScript, askTheUser);
        return mail;
    }
    }
    return none;
}

} // namespace

std::vector<MCPStdio::MCPTool> tools(const std::set<Kind>& enabled) {
    Group catalogue;
    for (const Kind kind : allCases) {
        if (enabled.contains(kind)) {
            const Group& added = group(kind);
            catalogue.insert(catalogue.end(), added.begin(), added.end());
        }
    }
    return catalogue;
}

} // namespace velmiro
