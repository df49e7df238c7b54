#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text that fits a screen of 80 columns.
namespace velmiro::demo {

constexpr std::size_t screenColumns = 80;

/// Returns how many columns a terminal takes for valid UTF-8; for emoji and East Asian characters
/// two.
std::size_t columnsOf(std::string_view text);

/// Breaks each line of a text after blanks and commas, never within a word, so that it fits if its
/// words do. What follows a break is indented like the line, and `deeper` more.
std::string fitted(std::string_view text, std::size_t columns, std::size_t deeper = 0);

} // namespace velmiro::demo
