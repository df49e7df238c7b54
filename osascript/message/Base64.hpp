#pragma once

#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Appends what base64 stands for. As forgiving as mail needs it: other characters are skipped, and
/// padding may be missing. What follows padding is decoded as well, until a line that cannot be
/// base64, such as the footer of a mailing list.
void appendBase64(std::string& bytes, std::string_view text);

} // namespace velmiro::osascript
