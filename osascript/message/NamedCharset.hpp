#pragma once

#include <string_view>

namespace velmiro::osascript {

/// Returns the text from the first occurrence of a word on; an empty text if there is none. The
/// word is in lower case, the text may hold it in any case.
std::string_view fromWord(std::string_view text, std::string_view word);

/// Returns the value of the first `charset=value` in a text; an empty one if there is none.
std::string_view namedCharset(std::string_view text);

} // namespace velmiro::osascript
