#pragma once

#include <map>
#include <string>

namespace velmiro {

/// Returns the environment of the process. If a name occurs twice, the first entry counts.
std::map<std::string, std::string> processEnvironment();

} // namespace velmiro
