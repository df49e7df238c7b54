#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <string>

namespace velmiro::local {

/// The text of a calendar file (RFC 5545) that holds one new event.
///
/// A timed event is written in UTC, to the second, an all-day event as its `wholeDays`. CR LF and
/// CR in texts are line ends like LF.
///
/// The text is read back and compared before it is handed out. Throws PlatformError when it would
/// not hold what was asked for: control characters other than line ends and tabs, or dates outside
/// the years 1 to 9999.
std::string eventFileText(const NewEvent& event, const std::string& uid, Instant now);

} // namespace velmiro::local
