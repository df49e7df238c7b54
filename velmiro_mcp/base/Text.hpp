#pragma once

#include <string_view>
#include <vector>

/// Small operations on UTF-8 text. All results are views into the argument.
namespace velmiro {

/// Removes Unicode white space and line breaks at both ends.
std::string_view trim(std::string_view text) noexcept;

/// Removes space separators and tabs at both ends; line breaks stay.
std::string_view trimSpacesAndTabs(std::string_view text) noexcept;

/// Returns the pieces between commas, without the empty ones.
std::vector<std::string_view> splitAtCommas(std::string_view text);

} // namespace velmiro
