#pragma once

#include <string>
#include <string_view>

namespace velmiro::osascript {

/// HTML beyond this many bytes is not read.
inline constexpr std::size_t mostHTML = std::size_t{4} << 20U;

/// Returns a document in UTF-8 as text for a person: blocks, table rows and list items on lines of
/// their own, each link followed by its address in brackets unless they are the same. Images,
/// scripts and styles leave no trace.
std::string htmlText(std::string_view html);

/// Returns the character set that a document names in its first bytes; an empty one if none, or if
/// the document cannot be in that set.
std::string_view htmlCharset(std::string_view bytes);

} // namespace velmiro::osascript
