#pragma once

#include <string>
#include <string_view>

namespace velmiro::local {

/// Where programs keep what is theirs among the user's files, without a slash at the end; worked
/// out afresh each time.
std::string supportFolder();

/// One of the folders that this program keeps its user's things in, such as Calendars; it need not
/// exist.
std::string dataFolder(std::string_view name);

} // namespace velmiro::local
