#include "approval_host/question/Scalars.hpp"

#include "approval_host/question/ScalarRanges.hpp"

#include <algorithm>
#include <iterator>

namespace velmiro::host {

namespace {

// Everything from plane 4 on is hidden too: unassigned, tags, private use.
constexpr ScalarRange hiddenRanges[] = {
    {0x0080, 0x009F},   // C1, next line among them
    {0x00AD, 0x00AD},   // soft hyphen
    {0x034F, 0x034F},   // grapheme joiner
    {0x061C, 0x061C},   // Arabic letter mark
    {0x115F, 0x1160},   // Hangul fillers
    {0x17B4, 0x17B5},   // Khmer vowels without a look
    {0x180B, 0x180F},   // Mongolian selectors and vowel separator
    {0x200B, 0x200B},   // zero-width space
    {0x200E, 0x200F},   // direction marks
    {0x2028, 0x202E},   // line and paragraph separator, direction embeddings and overrides
    {0x2060, 0x206F},   // word joiner, invisible operators, direction isolates
    {0x2800, 0x2800},   // a braille cell without dots
    {0x3164, 0x3164},   // Hangul filler
    {0xD800, 0xF8FF},   // surrogates, private use
    {0xFDD0, 0xFDEF},   // noncharacters
    {0xFE00, 0xFE0D},   // selectors of variants other than text and emoji
    {0xFEFF, 0xFEFF},   // byte order mark
    {0xFFA0, 0xFFA0},   // Hangul filler
    {0xFFF0, 0xFFFC},   // annotations, stand-in for an object
    {0xFFFE, 0xFFFF},   // noncharacters
    {0x13430, 0x1345F}, // hieroglyph format controls
    {0x1BCA0, 0x1BCA3}, // shorthand format controls
    {0x1D173, 0x1D17A}, // music format controls
    {0x1FFFE, 0x1FFFF}, // noncharacters
    {0x2FFFE, 0x2FFFF}, // noncharacters
    {0x3FFFE, 0x10FFFF},
};

} // namespace

bool contains(std::span<const ScalarRange> ranges, char32_t scalar) noexcept {
    const auto after =
        std::ranges::upper_bound(ranges, scalar, std::ranges::less{}, &ScalarRange::first);
    return after != ranges.begin() && scalar <= std::prev(after)->last;
}

Look lookOf(char32_t scalar) noexcept {
    if (scalar < 0x20 || scalar == 0x7F) {
        return Look::control;
    }
    if (scalar < 0x7F) {
        return Look::plain;
    }
    if (scalar == 0x200C || scalar == 0x200D) {
        return Look::joiner;
    }
    if (scalar == 0xFE0E || scalar == 0xFE0F) {
        return Look::selector;
    }
    if (contains(hiddenRanges, scalar)) {
        return Look::hidden;
    }
    return contains(markRanges, scalar) ? Look::mark : Look::plain;
}

char32_t takeScalar(std::string_view& text) noexcept {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t scalar = length == 1 ? lead : lead & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
        scalar = (scalar << 6U) | (static_cast<unsigned char>(next) & 0x3FU);
    }
    text.remove_prefix(length);
    return scalar;
}

std::size_t countScalars(std::string_view text) noexcept {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

} // namespace velmiro::host
