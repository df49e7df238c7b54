#include "velmiro_mcp/ToolCatalogue.hpp"

#include "velmiro_mcp/AppleTools/AppleTools.hpp"
#include "velmiro_mcp/Approval.hpp"
#include "velmiro_mcp/EventStore.hpp"

namespace velmiro {
namespace {

using Group = std::vector<MCPStdio::MCPTool>;

MCPStdio::Task<bool> askTheUser(std::string tool, std::string summary) {
    return Approval{}.ask(std::move(tool), std::move(summary));
}

/// A kind's tools, made on first use and kept for the life of the process.
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
    case Kind::contacts:
    case Kind::notes:
    case Kind::mail:
        break;
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
