#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <string>

namespace velmiro::local {

/// Returns the text of a calendar file (RFC 5545) that holds one new reminder, its due date in UTC.
/// Reads it back and throws as `eventFileText` does.
std::string reminderFileText(const NewReminder& reminder, const std::string& uid, Instant now);

} // namespace velmiro::local
