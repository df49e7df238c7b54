#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <string>

namespace velmiro::local {

/// Returns the text of a calendar file (RFC 5545) that holds one new event.
///
/// A timed event is written in UTC, to the second; an all-day event as its `wholeDays`. CR LF and
/// CR count as line breaks like LF.
///
/// Reads the text back and compares it. Throws PlatformError if the text cannot hold the event:
/// control characters other than line breaks and tabs, or dates outside the years 1 to 9999.
std::string eventFileText(const NewEvent& event, const std::string& uid, Instant now);

} // namespace velmiro::local
