#pragma once

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <memory>
#include <string>
#include <string_view>

/// Zones by their names in the system's zone data: Europe/Berlin, UTC, Etc/GMT+2.
namespace velmiro::local {

/// Whether a zone can have this name: letters, digits and -_+/ that stay within the folder.
bool isZoneName(std::string_view name);

/// The zone that the compiled file `<folder>/<name>` describes (RFC 8536); null when no zone can
/// have the name, when there is no such file, or it is not one.
/// Read from the files that the C library reads, so that a time in a named zone and a time on the
/// user's own clock follow the same edition of the data.
std::shared_ptr<const Zone> systemZone(std::string_view name, const std::string& folder);

/// The same from the contents of such a file.
std::shared_ptr<const Zone> zoneFromTZif(std::string_view data);

} // namespace velmiro::local
