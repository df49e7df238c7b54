#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The marks within a line of Markdown. Texts are well-formed UTF-8.
///
/// Emphasis, strong, struck, code, links and images are shown by their text, <https://…> by the
/// address, and &amp; or \* by the character meant. A link may contain images. A mark without its
/// partner, one inside a word (snake_case, 2*3*4) and one in code is text.
namespace velmiro::osascript {

/// Appends what a line shows.
void appendShown(std::string& shown, std::string_view text);

/// Returns the indexes of the characters that are read as marks, in no particular order: all of
/// those in the runs of emphasis and code, and only the first of any other mark. With a backslash
/// before each, the line would show them, unless other marks appear then.
std::vector<std::size_t> marksIn(std::string_view text);

/// Returns whether the character is one that a backslash turns into text.
bool isEscapable(char letter);

} // namespace velmiro::osascript
