#pragma once

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <memory>
#include <string>
#include <string_view>

/// Zones by their names in the system's zone data: Europe/Berlin, UTC, Etc/GMT+2.
namespace velmiro::local {

/// Returns whether a zone can have this name: letters, digits and -_+/ that stay within the folder.
bool isZoneName(std::string_view name);

/// Returns the zone in the TZif file `<folder>/<name>` (RFC 8536), or null if no zone can have the
/// name, the file does not exist, or it is not a TZif file.
/// The C library reads the same files, so a time in a named zone and a time on the user's own clock
/// follow the same edition of the data.
std::shared_ptr<const Zone> systemZone(std::string_view name, const std::string& folder);

/// Returns the zone in the contents of such a file, or null if they are damaged or not TZif.
std::shared_ptr<const Zone> zoneFromTZif(std::string_view data);

} // namespace velmiro::local
