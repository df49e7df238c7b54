#pragma once

#include <cstddef>
#include <string_view>

/// White space as scripts count it: also no-break and wide spaces, line separators and U+FEFF.
/// Texts are well-formed UTF-8.
namespace velmiro::osascript {

/// Returns the length of the white space character at the beginning of a text; zero if there is
/// none.
std::size_t spaceAtFront(std::string_view text);

/// Returns the text without white space around it.
std::string_view trimmed(std::string_view text);

inline bool isBlank(std::string_view text) {
    return trimmed(text).empty();
}

} // namespace velmiro::osascript
