#pragma once

#include "velmiro_mcp/base/Instant.hpp"
#include "velmiro_mcp/platform/local/time/CivilTime.hpp"
#include "velmiro_mcp/ports/PlatformError.hpp"

#include <optional>
#include <string>

/// What the texts of new events and new reminders share.
namespace velmiro::local {

/// The text with plain line ends, "" for none. Throws PlatformError when the format cannot hold it;
/// `what` names it: "the title of the event".
std::string storable(const std::optional<std::string>& text, const std::string& what);

/// To the second.
Moment inUTC(Instant instant);

/// Throws PlatformError when the moment lies outside the years 1 to 9999, which have four digits.
void requireWritable(const Moment& moment);

/// The lines of a file up to those that are the item's own, and the last ones.
std::string itemBeginning(const char* component, const std::string& uid, Instant now);
std::string itemEnd(const char* component);

/// The error for an item that did not read back as it was asked for.
PlatformError cannotHold(const std::string& item);

} // namespace velmiro::local
