#pragma once

#include <cstddef>
#include <string_view>

/// Unicode scalar values, and how they are displayed.
namespace velmiro::host {

enum class Look {
    plain,    ///< a character that can be seen, or a space
    mark,     ///< drawn on the character before it
    joiner,   ///< joins two characters in some scripts and in emoji; invisible
    selector, ///< chooses between the text form and the emoji form of the character before it
    control,  ///< C0 or DEL, for which Unicode has a picture
    hidden,   ///< invisible, moves other text, or has no agreed meaning
};

Look lookOf(char32_t scalar) noexcept;

/// Removes the first scalar value from the text, which is valid UTF-8 and not empty, and returns
/// it.
char32_t takeScalar(std::string_view& text) noexcept;

/// Returns the number of scalar values in the text, which is valid UTF-8.
std::size_t countScalars(std::string_view text) noexcept;

} // namespace velmiro::host
