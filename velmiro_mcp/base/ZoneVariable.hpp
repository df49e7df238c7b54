#pragma once

#include <string_view>

namespace velmiro {

/// Returns whether a value of TZ is a time zone: the name of a zone file, with or without a leading
/// colon, or a rule such as CET-1CEST. Empty is UTC.
bool isTimeZone(std::string_view value);

/// Removes TZ from the environment if it is not a time zone, so that the machine's own applies: the
/// C library would open whatever file it names, and read a terminal or a pipe, even standard input,
/// forever. Then loads the zone, which takes a descriptor that may be unavailable later. Must be
/// called before there are other threads.
void sanitizeZoneVariable();

} // namespace velmiro
