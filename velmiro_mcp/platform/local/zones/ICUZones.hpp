#pragma once

#include "velmiro_mcp/platform/local/time/Zone.hpp"

#include <memory>
#include <string>
#include <string_view>

/// What ICU knows about zones.
namespace velmiro::local {

/// The system's name for a Windows zone: Europe/Berlin for W. Europe Standard Time; empty when
/// there is none.
std::string zoneNameOfWindows(std::string_view name);

/// Returns the name that ICU prefers for a zone it knows by this one: America/New_York for
/// US/Eastern; empty when it knows none.
std::string canonicalZoneName(std::string_view name);

/// A zone from ICU's own data, for a machine that has no zone files; null when ICU does not know
/// it. These data can be years older than the files, so the files come first.
std::shared_ptr<const Zone> zoneFromICU(std::string_view name);

} // namespace velmiro::local
