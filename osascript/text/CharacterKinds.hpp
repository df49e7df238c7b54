#pragma once

#include <cstddef>
#include <string_view>

/// Kinds of characters, as scripts and their expressions know them. Texts are well-formed UTF-8.
///
/// White space includes no-break and wide spaces, line separators and U+FEFF.
namespace velmiro::osascript {

/// Returns the length in bytes of the white space character at the beginning or the end of a text;
/// zero if there is none.
std::size_t spaceAtFront(std::string_view text);
std::size_t spaceAtBack(std::string_view text);

/// Returns the text without white space around it.
std::string_view trimmed(std::string_view text);

inline bool isBlank(std::string_view text) {
    return trimmed(text).empty();
}

/// Returns whether a text begins or ends with a letter or a number.
bool beginsWithLetter(std::string_view text);
bool endsWithLetter(std::string_view text);

} // namespace velmiro::osascript
