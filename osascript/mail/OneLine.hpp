#pragma once

#include <string>

namespace velmiro::osascript {

/// Returns a text, in UTF-8, without line ends and other control characters: a blank for each run
/// of them, none at either end.
std::string inOneLine(std::string text);

} // namespace velmiro::osascript
