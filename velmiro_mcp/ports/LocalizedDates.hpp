#pragma once

#include "velmiro_mcp/base/Instant.hpp"

#include <string>

/// Dates for the user to read, in the user's language and time zone. Any thread may call.
namespace velmiro {

/// Returns the date in the system's medium style.
std::string localizedDate(Instant instant);

/// Returns the same, followed by the time of day in the system's short style.
std::string localizedDateTime(Instant instant);

} // namespace velmiro
