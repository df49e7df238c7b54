#pragma once

#include <cstddef>
#include <string_view>

/// Text operations that depend on the system's Unicode data. Any thread may call them.
namespace velmiro {

/// Returns the first `count` user-perceived characters of `text`, or all of it if it has no more.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// Returns whether two names are the same to the user, ignoring case by the rules of the user's
/// language.
bool equalIgnoringCase(std::string_view left, std::string_view right);

} // namespace velmiro
