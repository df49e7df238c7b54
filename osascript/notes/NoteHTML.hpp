#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Between the HTML that is a note's body and its lines of text. Each block is a line, and each
/// <br> ends one. Marks within a line are left out. White space counts, except between blocks:
/// scripts put a text into the body as it is, and it must come back so.
namespace velmiro::osascript {

std::vector<std::string> linesOfHTML(std::string_view html);

/// Returns a body with the title as its heading.
std::string noteHTML(std::string_view title, const std::vector<std::string>& lines);

} // namespace velmiro::osascript
