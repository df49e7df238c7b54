#include "osascript/text/Folding.hpp"

#include "MCPStdio/text/ByteScan.hpp"
#include "osascript/text/Characters.hpp"
#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

// Folding takes a text apart (NFKD), drops marks, makes it upper case and composes it again (NFC).
// Upper case, not lower, makes ß and ss alike. All of that is done once for each character and
// remembered, as most characters do not affect their neighbours; only a text with one that does is
// folded as a whole.

namespace velmiro::osascript {
namespace {

using local::icuCommon;
using local::lengthOf;

/// Returns whether a mark does not count: Latin, Greek and Cyrillic accents, Hebrew points, Arabic
/// vowel signs, marks for symbols, and selectors of glyphs.
bool isDropped(UChar32 scalar) {
    struct Range {
        UChar32 first;
        UChar32 last;
    };
    constexpr std::array<Range, 15> ranges{{{0x0300, 0x036F},
                                            {0x0483, 0x0489},
                                            {0x0591, 0x05BD},
                                            {0x05BF, 0x05BF},
                                            {0x05C1, 0x05C2},
                                            {0x05C4, 0x05C5},
                                            {0x05C7, 0x05C7},
                                            {0x0610, 0x061A},
                                            {0x064B, 0x065F},
                                            {0x0670, 0x0670},
                                            {0x1AB0, 0x1AFF},
                                            {0x1DC0, 0x1DFF},
                                            {0x20D0, 0x20F0},
                                            {0xFE00, 0xFE0F},
                                            {0xFE20, 0xFE2F}}};
    return std::ranges::any_of(ranges, [scalar](const Range& range) {
        return range.first <= scalar && scalar <= range.last;
    });
}

/// The forms of normalization that are used here.
struct Normalizers {
    const UNormalizer2* apart;    ///< NFD
    const UNormalizer2* plain;    ///< NFKD
    const UNormalizer2* composed; ///< NFC
};

const Normalizers& normalizers() {
    static const Normalizers all = [] {
        UErrorCode status = U_ZERO_ERROR;
        const auto& icu = icuCommon();
        const Normalizers made{icu.unorm2_getNFDInstance(&status),
                               icu.unorm2_getNFKDInstance(&status),
                               icu.unorm2_getNFCInstance(&status)};
        if (U_FAILURE(status)) {
            throw std::runtime_error{"ICU has no data for normalization"};
        }
        return made;
    }();
    return all;
}

std::u16string normalized(const UNormalizer2* form, std::u16string_view text) {
    return local::fromICU(text.size(), [&](char16_t* into, std::int32_t size, UErrorCode* status) {
        return icuCommon().unorm2_normalize(form, text.data(), lengthOf(text), into, size, status);
    });
}

std::u16string uppercased(std::u16string_view text) {
    return local::fromICU(text.size(), [&](char16_t* into, std::int32_t size, UErrorCode* status) {
        return icuCommon().u_strToUpper(into, size, text.data(), lengthOf(text), "", status);
    });
}

std::u16string unitsOf(UChar32 scalar) {
    return U_IS_BMP(scalar) ? std::u16string{static_cast<char16_t>(scalar)}
                            : std::u16string{U16_LEAD(scalar), U16_TRAIL(scalar)};
}

UChar32 firstOf(std::u16string_view text) {
    UChar32 scalar = 0;
    std::size_t index = 0;
    U16_NEXT(text, index, text.size(), scalar);
    return scalar;
}

/// Drops marks and makes the rest of a text in NFKD upper case.
std::u16string plainUpper(std::u16string text) {
    std::erase_if(text, [](char16_t unit) { return isDropped(unit); }); // all are below U+10000
    return uppercased(text);
}

/// Folds a text as a whole.
std::string foldedWhole(std::string_view text) {
    const auto plain = plainUpper(normalized(normalizers().plain, local::utf16(text)));
    return local::utf8(normalized(normalizers().composed, plain));
}

char upperASCII(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

/// What a character becomes. Affecting no neighbour means that what comes before it stays the same
/// whatever it is, and that it stays the same whatever comes after it.
struct FoldedCharacter {
    static constexpr std::size_t longest = 14;

    UChar32 scalar = U_SENTINEL;
    bool affectsNeighbours = false;
    std::uint8_t length = 0;
    std::array<char, longest> text{};
};

FoldedCharacter foldedCharacter(UChar32 scalar) {
    FoldedCharacter made{.scalar = scalar};
    const auto& icu = icuCommon();
    const auto apart = normalized(normalizers().plain, unitsOf(scalar));
    const auto upper = plainUpper(apart);
    if (upper.empty()) {
        return made;
    }
    const std::string whole = local::utf8(normalized(normalizers().composed, upper));
    made.affectsNeighbours =
        whole.size() > FoldedCharacter::longest ||
        icu.unorm2_hasBoundaryBefore(normalizers().plain, firstOf(apart)) == 0 ||
        icu.unorm2_hasBoundaryBefore(normalizers().composed, firstOf(upper)) == 0;
    if (!made.affectsNeighbours) {
        made.length = static_cast<std::uint8_t>(whole.size());
        std::ranges::copy(whole, made.text.begin());
    }
    return made;
}

/// Returns what the character becomes, from a table of those met last.
const FoldedCharacter& rememberedCharacter(UChar32 scalar) {
    constexpr std::size_t size = 4096;
    thread_local std::vector<FoldedCharacter> table(size);
    FoldedCharacter& entry = table[static_cast<std::size_t>(scalar) % size];
    if (entry.scalar != scalar) {
        entry = foldedCharacter(scalar);
    }
    return entry;
}

bool isLetterOrDigit(UChar32 ascii) {
    return (ascii >= 'A' && ascii <= 'Z') || (ascii >= 'a' && ascii <= 'z') ||
           (ascii >= '0' && ascii <= '9');
}

/// Returns the outline of a text in upper case.
std::u32string outlineOf(std::u16string_view upper) {
    const auto apart = normalized(normalizers().apart, upper);
    std::u32string outline;
    for (std::size_t index = 0; index < apart.size();) {
        UChar32 scalar = 0;
        U16_NEXT(apart, index, apart.size(), scalar);
        const bool counts =
            scalar < 0x80 ? isLetterOrDigit(scalar) : icuCommon().u_getCombiningClass(scalar) == 0;
        if (counts) {
            outline += static_cast<char32_t>(scalar);
        }
    }
    return outline;
}

} // namespace

std::string folded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = MCPStdio::findByte(text, at, MCPStdio::markNonASCII);
        result.append(text.substr(at, end - at));
        const auto added = result.end() - static_cast<std::ptrdiff_t>(end - at);
        std::transform(added, result.end(), added, upperASCII);
        at = end;
        while (at < text.size() && !isASCIIByte(text[at])) {
            const char32_t scalar = nextCharacter(text, at);
            if (scalar == illFormed) {
                return foldedWhole(text);
            }
            const auto& character = rememberedCharacter(static_cast<UChar32>(scalar));
            if (character.affectsNeighbours) {
                return foldedWhole(text);
            }
            result.append(character.text.data(), character.length);
        }
    }
    return result;
}

std::u32string outlineOfFolded(std::string_view folded) {
    return outlineOf(local::utf16(folded));
}

std::u32string outlineOfCharacter(char32_t character) {
    constexpr char32_t endOfASCII = 0x80;
    if (character < endOfASCII) {
        const char letter = upperASCII(static_cast<char>(character));
        return isLetterOrDigit(letter) ? std::u32string(1, static_cast<unsigned char>(letter))
                                       : std::u32string{};
    }
    const auto units = unitsOf(static_cast<UChar32>(character));
    return outlineOf(plainUpper(normalized(normalizers().plain, units)));
}

} // namespace velmiro::osascript
