#pragma once

#include <string_view>

namespace velmiro {

/// Whether a value of TZ is a zone: the name of a zone file, with a colon before it or not, or a
/// rule such as CET-1CEST. Empty is UTC.
bool isZone(std::string_view value);

/// Removes TZ from the environment when it is no zone; the machine's own then counts. The C library
/// would open whatever it names, and read a terminal or a pipe, standard input among them, for
/// ever. Then has the zone read, which takes a descriptor that may be wanting later. To be called
/// before there are other threads.
void settleZoneVariable();

} // namespace velmiro
