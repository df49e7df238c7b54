#pragma once

#include <cstddef>
#include <string_view>

/// Unicode scalar values, and how each behaves when it is shown.
namespace velmiro::host {

enum class Look {
    plain,    ///< a character that can be seen, or a space
    mark,     ///< drawn on the character before it
    joiner,   ///< joins two characters without a look of its own, in some scripts and in emoji
    selector, ///< chooses between the text form and the emoji form of the character before it
    control,  ///< C0 or DEL, for which Unicode has a picture
    hidden,   ///< cannot be seen, moves other text about, or means nothing between strangers
};

Look lookOf(char32_t scalar) noexcept;

/// Takes the first scalar value off the text, which is valid UTF-8 and not empty.
char32_t takeScalar(std::string_view& text) noexcept;

/// How many scalar values the text has, which is valid UTF-8.
std::size_t countScalars(std::string_view text) noexcept;

} // namespace velmiro::host
