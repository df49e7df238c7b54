#pragma once

#include <string>

namespace velmiro {

/// Returns the user's Application Support folder, without a trailing slash; computed afresh on each
/// call.
std::string applicationSupportDirectory();

} // namespace velmiro
