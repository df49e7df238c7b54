#include "osascript/text/CharacterKinds.hpp"

#include "osascript/text/Characters.hpp"
#include "velmiro_mcp/platform/local/libraries/ICU.hpp"

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

bool isLetterOrNumber(std::string_view character) {
    std::size_t at = 0;
    const auto kind =
        local::icuCommon().u_charType(static_cast<UChar32>(nextCharacter(character, at)));
    return (U_MASK(kind) & (U_GC_L_MASK | U_GC_N_MASK)) != 0;
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

std::size_t spaceAtBack(std::string_view text) {
    if (text.empty() || !maySpace(text.back())) {
        return 0;
    }
    const auto* const found =
        std::ranges::find_if(spaces, [&](std::string_view space) { return text.ends_with(space); });
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

bool beginsWithLetter(std::string_view text) {
    return !text.empty() && isLetterOrNumber(text);
}

bool endsWithLetter(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    std::size_t begin = text.size() - 1;
    while (begin > 0 && (static_cast<unsigned char>(text[begin]) & 0xC0U) == 0x80) {
        --begin;
    }
    return isLetterOrNumber(text.substr(begin));
}

} // namespace velmiro::osascript
