#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/Kind.hpp"

#include <set>
#include <vector>

namespace velmiro {

/// The tools of the kinds that are switched on: kinds in their fixed order, each with its group.
std::vector<MCPStdio::MCPTool> tools(const std::set<Kind>& enabled);

} // namespace velmiro
