#pragma once

#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Returns a text in `format=flowed` (RFC 3676) with its paragraphs on one line each.
/// `deletesSpace` is its parameter `delsp`: the blank before a soft line break is not part of the
/// text.
std::string unflowed(std::string_view text, bool deletesSpace);

} // namespace velmiro::osascript
