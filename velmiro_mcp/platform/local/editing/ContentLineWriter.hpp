#pragma once

#include <string>
#include <string_view>

/// Writes content lines of a calendar file (RFC 5545, 3.1).
namespace velmiro::local {

/// Appends NAME:value as one line, folded to at most 75 bytes a line without splitting a UTF-8
/// sequence.
void appendLine(std::string& text, std::string_view name, std::string_view value);

/// Returns the text as the value of a TEXT property.
std::string escapedText(std::string_view text);

/// Returns the text with LF for every line break.
std::string withPlainLineEnds(std::string_view text);

/// Returns whether the format can hold the text: it has no control characters except LF and tab.
bool isStorable(std::string_view text);

} // namespace velmiro::local
