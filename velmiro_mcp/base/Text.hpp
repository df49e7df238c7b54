#pragma once

#include <string_view>
#include <vector>

/// Small operations on UTF-8 text. What they give back are parts of what they were given.
namespace velmiro {

/// Without Unicode white space and line breaks at both ends.
std::string_view trim(std::string_view text) noexcept;

/// Without space separators and tabs at both ends; line breaks stay.
std::string_view trimSpacesAndTabs(std::string_view text) noexcept;

/// The pieces between commas, the empty ones left out.
std::vector<std::string_view> splitAtCommas(std::string_view text);

} // namespace velmiro
