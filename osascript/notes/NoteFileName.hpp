#pragma once

#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Returns the name of a new note's file, which is the title as far as a file name can hold it:
/// `Title.md`, and for the numbers from one on `Title 2.md`, `Title 3.md` and so on.
std::string noteFileName(std::string_view title, int number);

} // namespace velmiro::osascript
