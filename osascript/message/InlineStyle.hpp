#pragma once

#include <string_view>

namespace velmiro::osascript {

/// Returns whether the declarations of a `style` attribute hide their element: `display: none` or
/// `visibility: hidden`. Of several for one property the last counts, and an important one before
/// others.
bool hidesElement(std::string_view style);

} // namespace velmiro::osascript
