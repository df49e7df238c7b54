#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace velmiro::osascript {

/// A character that Markdown or HTML names: `&amp;`, `&#38;`, `&#x26;`.
struct CharacterReference {
    std::size_t length = 0; ///< in bytes, with `&` and `;`
    char32_t character = 0; ///< U+FFFD if the number is none of a character
};

/// Returns the reference at the beginning of a text; nullopt if there is none.
std::optional<CharacterReference> characterReference(std::string_view text);

} // namespace velmiro::osascript
