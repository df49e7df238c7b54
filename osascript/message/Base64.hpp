#pragma once

#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Appends what base64 stands for. As forgiving as mail needs it: other characters are skipped,
/// padding may be missing, and what follows padding is decoded as well.
void appendBase64(std::string& bytes, std::string_view text);

} // namespace velmiro::osascript
