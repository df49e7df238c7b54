#pragma once

#include <string>
#include <string_view>

/// Writing the lines of a calendar file.
namespace velmiro::local {

/// Appends NAME:value as one line, folded so that no line has more than 75 bytes and no character
/// is cut in two.
void appendLine(std::string& text, std::string_view name, std::string_view value);

/// A text as the value of a TEXT property.
std::string escapedText(std::string_view text);

/// The same text with LF for every line end.
std::string withPlainLineEnds(std::string_view text);

/// Whether the format can hold the text, which has plain line ends: it has no control characters
/// but tabs.
bool isStorable(std::string_view text);

} // namespace velmiro::local
