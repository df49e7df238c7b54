#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <optional>
#include <string>

/// The parts that the texts of new events and new reminders share.
namespace velmiro::local {

/// Returns the text with LF line breaks, "" for nullopt. Throws PlatformError if the format cannot
/// hold it; `what` names it in the error: "the title of the event".
std::string storable(const std::optional<std::string>& text, const std::string& what);

/// Returns the instant as a time in UTC, rounded down to the second.
Moment inUTC(Instant instant);

/// Throws PlatformError if the moment is outside the years 1 to 9999, which have four digits.
void requireWritable(const Moment& moment);

/// Returns the file's first lines, up to the item's own properties.
std::string itemBeginning(const char* component, const std::string& uid, Instant now);

/// Returns the file's last lines.
std::string itemEnd(const char* component);

/// Returns the error for an item that did not read back as given.
PlatformError cannotHold(const std::string& item);

} // namespace velmiro::local
