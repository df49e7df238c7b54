#pragma once

#include "velmiro_mcp/base/DescriptorLimit.hpp"

#include <map>
#include <string>

/// What the program is given by, and (`raiseDescriptorLimit`) asks of, the process it is.
namespace velmiro {

/// The whole environment. Of a name that stands there twice the first entry counts.
std::map<std::string, std::string> processEnvironment();

} // namespace velmiro
