#pragma once

#include "velmiro_mcp/base/DescriptorLimit.hpp"

#include <map>
#include <string>

/// The process's environment and limits.
namespace velmiro {

/// Returns the whole environment. If a name occurs twice, the first entry counts.
std::map<std::string, std::string> processEnvironment();

} // namespace velmiro
