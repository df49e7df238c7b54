#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/ports/EventDatabase.hpp"

#include <string>

namespace velmiro::local {

/// The text of a calendar file (RFC 5545) that holds one new reminder; the date it is due at is
/// written in UTC. What holds for `eventFileText` holds here too.
std::string reminderFileText(const NewReminder& reminder, const std::string& uid, Instant now);

} // namespace velmiro::local
