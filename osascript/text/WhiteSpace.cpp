#include "osascript/text/WhiteSpace.hpp"

#include <algorithm>
#include <array>

namespace velmiro::osascript {
namespace {

constexpr std::array<std::string_view, 25> spaces{
    "\t",     "\n",     "\v",     "\f",     "\r",     " ",      "\u00A0", "\u1680", "\u2000",
    "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007", "\u2008", "\u2009",
    "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000", "\uFEFF",
};

/// Returns whether a byte may begin or end a white space character. Most may not.
bool maySpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r') ||
           static_cast<unsigned char>(byte) >= 0x80;
}

std::size_t spaceAtBack(std::string_view text) {
    if (text.empty() || !maySpace(text.back())) {
        return 0;
    }
    const auto* const found =
        std::ranges::find_if(spaces, [&](std::string_view space) { return text.ends_with(space); });
    return found == spaces.end() ? 0 : found->size();
}

} // namespace

std::size_t spaceAtFront(std::string_view text) {
    if (text.empty() || !maySpace(text.front())) {
        return 0;
    }
    const auto* const found = std::ranges::find_if(
        spaces, [&](std::string_view space) { return text.starts_with(space); });
    return found == spaces.end() ? 0 : found->size();
}

std::string_view trimmed(std::string_view text) {
    while (const std::size_t length = spaceAtFront(text)) {
        text.remove_prefix(length);
    }
    while (const std::size_t length = spaceAtBack(text)) {
        text.remove_suffix(length);
    }
    return text;
}

} // namespace velmiro::osascript
