#pragma once

#include <string>
#include <string_view>

namespace velmiro::local {

/// One of the folders that this program keeps its user's things in, such as Calendars; it need not
/// exist.
std::string dataFolder(std::string_view name);

} // namespace velmiro::local
