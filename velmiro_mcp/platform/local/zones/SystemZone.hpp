#pragma once

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

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
std::shared_ptr<const Zone> zoneFromCompiledData(std::string_view data);

/// The changes that a rule in the manner of POSIX's TZ (CET-1CEST,M3.5.0,M10.5.0/3) makes from the
/// year `from` to Zone::lastYear, after the offset of its standard time at the start of 1900; only
/// that when it makes none, nothing when it is not such a rule.
std::vector<Zone::Change> changesOfRule(std::string_view rule, int from);

} // namespace velmiro::local
