#pragma once

#include <string>
#include <string_view>

namespace velmiro::local {

/// Returns the folder for programs' own files in the user's home, without a trailing slash. Reads
/// the environment at each call.
std::string supportFolder();

/// Returns the path of one of the folders with the user's data, such as Calendars. It need not
/// exist.
std::string dataFolder(std::string_view name);

} // namespace velmiro::local
