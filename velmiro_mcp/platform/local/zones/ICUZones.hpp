#pragma once

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <memory>
#include <string>
#include <string_view>

/// Zones in ICU's data.
namespace velmiro::local {

/// Returns the system's name for a Windows zone, such as Europe/Berlin for W. Europe Standard Time,
/// or an empty string if there is none.
std::string zoneNameOfWindows(std::string_view name);

/// Returns ICU's preferred name for the zone of this name, such as America/New_York for US/Eastern,
/// or an empty string if ICU knows no such zone.
std::string canonicalZoneName(std::string_view name);

/// Returns a zone from ICU's own data, for a machine without zone files, or null if ICU does not
/// know it. ICU's data can be years older than the files, so the files come first.
std::shared_ptr<const Zone> zoneFromICU(std::string_view name);

} // namespace velmiro::local
