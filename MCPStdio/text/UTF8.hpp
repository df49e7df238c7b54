#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// UTF-8, the encoding of every text here: well-formed, without surrogates or overlong forms.
namespace MCPStdio {

/// Returns the index of the first ill-formed sequence of `text`; `text.size()` if there is none.
std::size_t findInvalidUTF8(std::string_view text) noexcept;

inline bool isValidUTF8(std::string_view text) noexcept {
    return findInvalidUTF8(text) == text.size();
}

/// Returns the text with U+FFFD instead of everything ill-formed: one for each longest prefix of a
/// well-formed sequence, and for each byte that begins none. Does not copy well-formed text.
std::string repairUTF8(std::string text);

/// The most bytes that the UTF-8 form of a scalar value has.
inline constexpr std::size_t longestUTF8 = 4;

/// Writes the UTF-8 form of a Unicode scalar value and returns the end of it.
char* writeUTF8(char* to, char32_t scalar) noexcept;
/// Appends the UTF-8 form of a Unicode scalar value.
void appendUTF8(std::string& text, char32_t scalar);

} // namespace MCPStdio
