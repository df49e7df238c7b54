#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// UTF-8 as every text here is held: well-formed, without surrogates and overlong forms.
namespace MCPStdio {

/// Where the first ill-formed sequence of `text` begins; `text.size()` when there is none.
std::size_t findInvalidUTF8(std::string_view text) noexcept;

inline bool isValidUTF8(std::string_view text) noexcept {
    return findInvalidUTF8(text) == text.size();
}

/// The text with every ill-formed sequence replaced by U+FFFD, one for each longest beginning of a
/// well-formed sequence. Well-formed text comes back as it is, without a copy.
std::string repairUTF8(std::string text);

/// Appends the UTF-8 form of a Unicode scalar value.
void appendUTF8(std::string& text, char32_t scalar);

} // namespace MCPStdio
