#pragma once

#include <string>

namespace velmiro::local {

/// The user's language and region for dates, as ICU names them: en_GB, de_DE. Where the environment
/// says nothing, that no language is meant (C, POSIX), or what is not of that form, English with
/// unambiguous dates.
std::string userLocale();

} // namespace velmiro::local
