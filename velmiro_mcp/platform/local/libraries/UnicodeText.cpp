#include "velmiro_mcp/platform/local/libraries/UnicodeText.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <utility>

namespace velmiro::local {
namespace {

char foldedASCII(char letter) {
    const bool isLetter = (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9');
    if (letter >= 'A' && letter <= 'Z') {
        return static_cast<char>(letter - 'A' + 'a');
    }
    if (isLetter) {
        return letter;
    }
    return letter == ' ' || (letter >= '\t' && letter <= '\r') ? ' ' : '-';
}

/// The first and the last of some characters.
using Range = std::pair<UChar32, UChar32>;

bool isIn(std::span<const Range> ranges, UChar32 scalar) {
    return std::ranges::any_of(ranges, [scalar](const Range& range) {
        return range.first <= scalar && scalar <= range.second;
    });
}

/// Returns whether the character is a point of Hebrew or a sign of Arabic that most writers leave
/// out, or lengthens an Arabic word for the eye.
bool isPoint(UChar32 scalar) {
    constexpr std::array<Range, 7> points{{
        {0x0591, 0x05BD},
        {0x05BF, 0x05BF},
        {0x05C1, 0x05C2},
        {0x05C4, 0x05C5},
        {0x05C7, 0x05C7},
        {0x0610, 0x061A},
        {0x0640, 0x0640},
    }};
    return isIn(points, scalar);
}

/// Returns whether the character is a mark that modifies a letter, such as an accent. The vowel
/// signs of Indic scripts are letters to their readers, and so are the marks that turn カ into ガ.
bool isDiacritic(UChar32 scalar) {
    constexpr UChar32 voiced = 0x3099;
    constexpr UChar32 halfVoiced = 0x309A;
    UErrorCode status = U_ZERO_ERROR;
    const ICUCommon& icu = icuCommon();
    return icu.u_charType(scalar) == U_NON_SPACING_MARK && scalar != voiced &&
           scalar != halfVoiced && icu.uscript_getScript(scalar, &status) == USCRIPT_INHERITED;
}

/// Returns the plain form of a letter which Unicode treats as a letter of its own, but a person who
/// searches does not. Returns an empty string for any other character.
std::string_view plainForm(UChar32 scalar) {
    constexpr std::array<std::pair<UChar32, std::string_view>, 10> forms{{
        {0x00E6, "ae"}, // æ
        {0x00F0, "d"},  // ð
        {0x00F8, "o"},  // ø
        {0x00FE, "th"}, // þ
        {0x0111, "d"},  // đ
        {0x0127, "h"},  // ħ
        {0x0131, "i"},  // ı
        {0x0142, "l"},  // ł
        {0x0153, "oe"}, // œ
        {0x0167, "t"},  // ŧ
    }};
    const auto* const form = std::ranges::find(forms, scalar, &decltype(forms)::value_type::first);
    return form == forms.end() ? std::string_view{} : form->second;
}

bool isWordCharacter(UChar32 scalar) {
    // Letters in Unicode, but apostrophes, primes and stress marks to those who write them.
    constexpr std::array<Range, 3> signs{{{0x02B9, 0x02BF}, {0x02C8, 0x02C8}, {0x02EE, 0x02EE}}};
    const ICUCommon& icu = icuCommon();
    const bool isMark = (U_MASK(icu.u_charType(scalar)) & U_GC_M_MASK) != 0;
    return isMark || (icu.u_isalnum(scalar) != 0 && !isIn(signs, scalar));
}

std::u16string normalized(const UNormalizer2* form, const std::u16string& text) {
    return fromICU(text.size(), [&](char16_t* into, std::int32_t size, UErrorCode* status) {
        return icuCommon().unorm2_normalize(form, text.data(), lengthOf(text), into, size, status);
    });
}

/// Returns the scalar value at `index`, and advances `index` to the next one.
UChar32 nextScalar(const std::u16string& text, std::size_t& index) {
    UChar32 scalar = 0;
    U16_NEXT(text, index, text.size(), scalar);
    return scalar;
}

/// Returns the text folded and composed again: a mark that was kept is part of its letter.
std::u16string folded(const std::u16string& text) {
    const ICUCommon& icu = icuCommon();
    UErrorCode status = U_ZERO_ERROR;
    const auto* const caseless = icu.unorm2_getNFKCCasefoldInstance(&status);
    const auto* const decomposed = icu.unorm2_getNFDInstance(&status);
    const auto* const composed = icu.unorm2_getNFCInstance(&status);
    if (U_FAILURE(status)) {
        return text;
    }
    const auto apart = normalized(decomposed, normalized(caseless, text));
    std::u16string plain;
    plain.reserve(apart.size());
    for (std::size_t index = 0; index < apart.size();) {
        const std::size_t begin = index;
        const UChar32 scalar = nextScalar(apart, index);
        const auto form = plainForm(scalar);
        if (!form.empty()) {
            plain.append(form.begin(), form.end());
        } else if (!isDiacritic(scalar) && !isPoint(scalar)) {
            plain.append(apart, begin, index - begin);
        }
    }
    // Text in Latin letters is ASCII by now, and has nothing to compose.
    const bool isDone = std::ranges::all_of(plain, [](char16_t unit) { return unit < 0x80; });
    return isDone ? plain : normalized(composed, plain);
}

/// Returns the largest set that is written under a name. ICU reads some names more narrowly than
/// programs write them.
std::string meantSet(std::string_view name) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 5> meanings{{
        {"euc-kr", "windows-949-2000"},
        {"gb2312", "gb18030"},
        {"iso-8859-1", "windows-1252"},
        {"iso-8859-9", "windows-1254"},
        {"us-ascii", "windows-1252"},
    }};
    const std::string plain = foldedLetters(name);
    const auto* const meaning =
        std::ranges::find(meanings, plain, &decltype(meanings)::value_type::first);
    return std::string{meaning == meanings.end() ? name : meaning->second};
}

} // namespace

std::string decodedText(std::string_view bytes, std::string_view characterSet) {
    // Only known names are opened: ICU would search the disk for an unknown one.
    const std::string name = meantSet(characterSet);
    UErrorCode status = U_ZERO_ERROR;
    const ICUCommon& icu = icuCommon();
    if (icu.ucnv_countAliases(name.c_str(), &status) == 0) {
        return MCPStdio::repairUTF8(std::string{bytes});
    }
    const std::unique_ptr<UConverter, decltype(icu.ucnv_close)> converter{
        icu.ucnv_open(name.c_str(), &status), icu.ucnv_close};
    if (!converter) {
        return {};
    }
    return utf8(fromICU(bytes.size(), [&](char16_t* into, std::int32_t size, UErrorCode* failure) {
        return icu.ucnv_toUChars(converter.get(), into, size, bytes.data(),
                                 static_cast<std::int32_t>(bytes.size()), failure);
    }));
}

std::string foldedLetters(std::string_view text) {
    std::string letters;
    if (isASCII(text)) {
        letters.resize(text.size());
        std::ranges::transform(text, letters.begin(), foldedASCII);
        return letters;
    }
    const auto plain = folded(utf16(text));
    for (std::size_t index = 0; index < plain.size();) {
        const UChar32 scalar = nextScalar(plain, index);
        if (isWordCharacter(scalar)) {
            MCPStdio::appendUTF8(letters, static_cast<char32_t>(scalar));
        } else {
            letters += icuCommon().u_isUWhiteSpace(scalar) != 0 ? ' ' : '-';
        }
    }
    return letters;
}

bool isWrittenWithoutBlanks(std::string_view text) {
    if (isASCII(text)) {
        return false;
    }
    constexpr std::size_t longestScalar = 4; // a sequence cut off after it does not matter
    UErrorCode status = U_ZERO_ERROR;
    const auto wide = utf16(text.substr(0, longestScalar));
    std::size_t index = 0;
    switch (icuCommon().uscript_getScript(nextScalar(wide, index), &status)) {
    case USCRIPT_HAN:
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_HANGUL:
        return true;
    default:
        return false;
    }
}

} // namespace velmiro::local
