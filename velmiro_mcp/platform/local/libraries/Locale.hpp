#pragma once

#include <string>

namespace velmiro::local {

/// Returns the user's language and region for dates, as ICU names them: en_GB, de_DE. If the
/// environment names none, or C or POSIX, or something malformed, returns English with unambiguous
/// dates.
std::string userLocale();

} // namespace velmiro::local
