#pragma once

#include <string>

namespace velmiro {

/// Returns the full path of the program that runs automation scripts.
std::string osascriptPath();

} // namespace velmiro
