#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "velmiro_mcp/Kind.hpp"

#include <set>
#include <vector>

namespace velmiro {

/// Returns the tools of the enabled kinds, grouped by kind, in the fixed order of kinds.
std::vector<MCPStdio::MCPTool> tools(const std::set<Kind>& enabled);

} // namespace velmiro
