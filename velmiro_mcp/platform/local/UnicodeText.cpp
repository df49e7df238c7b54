#include "velmiro_mcp/platform/local/UnicodeText.hpp"

#include "MCPStdio/UTF8.hpp"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <array>
#include <utility>

namespace velmiro::local {
namespace {

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text,
                               [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

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

/// A mark that changes a letter without being one, as an accent does. The vowel signs of Indic
/// scripts are letters to their readers, and so is what makes ガ of カ.
bool isDiacritic(UChar32 scalar) {
    constexpr UChar32 voiced = 0x3099;
    constexpr UChar32 halfVoiced = 0x309A;
    UErrorCode status = U_ZERO_ERROR;
    return u_charType(scalar) == U_NON_SPACING_MARK && scalar != voiced && scalar != halfVoiced &&
           uscript_getScript(scalar, &status) == USCRIPT_INHERITED;
}

/// Letters that Unicode takes for letters of their own, and a searching person does not.
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

bool isOfWord(UChar32 scalar) {
    constexpr UChar32 apostrophe = 0x02BC; // a letter to Unicode
    const bool isMark = (U_GET_GC_MASK(scalar) & U_GC_M_MASK) != 0;
    return isMark || (u_isalnum(scalar) != 0 && scalar != apostrophe);
}

icu::UnicodeString wide(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
}

/// Letters and digits folded, composed again at the end: a mark that stayed is a part of its
/// letter.
icu::UnicodeString folded(const icu::UnicodeString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const casefold = icu::Normalizer2::getNFKCCasefoldInstance(status);
    const auto* const decompose = icu::Normalizer2::getNFDInstance(status);
    const auto* const compose = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) {
        return text;
    }
    const auto apart = decompose->normalize(casefold->normalize(text, status), status);
    icu::UnicodeString plain;
    for (int32_t index = 0; index < apart.length(); index = apart.moveIndex32(index, 1)) {
        const UChar32 scalar = apart.char32At(index);
        const auto form = plainForm(scalar);
        if (!form.empty()) {
            plain.append(wide(form));
        } else if (!isDiacritic(scalar)) {
            plain.append(scalar);
        }
    }
    return compose->normalize(plain, status);
}

} // namespace

std::string decodedText(std::string_view bytes, std::string_view characterSet) {
    // Names are looked up before they are opened: an unknown one would be searched for on the disk.
    const std::string name{characterSet};
    UErrorCode status = U_ZERO_ERROR;
    if (ucnv_countAliases(name.c_str(), &status) == 0) {
        return MCPStdio::repairUTF8(std::string{bytes});
    }
    std::string text;
    icu::UnicodeString{bytes.data(), static_cast<int32_t>(bytes.size()), name.c_str()}.toUTF8String(
        text);
    return text;
}

std::string foldedLetters(std::string_view text) {
    std::string letters;
    if (isASCII(text)) {
        letters.resize(text.size());
        std::ranges::transform(text, letters.begin(), foldedASCII);
        return letters;
    }
    const auto plain = folded(wide(text));
    for (int32_t index = 0; index < plain.length(); index = plain.moveIndex32(index, 1)) {
        const UChar32 scalar = plain.char32At(index);
        if (isOfWord(scalar)) {
            MCPStdio::appendUTF8(letters, static_cast<char32_t>(scalar));
        } else {
            letters += u_isUWhiteSpace(scalar) != 0 ? ' ' : '-';
        }
    }
    return letters;
}

bool isWrittenWithoutBlanks(std::string_view text) {
    if (isASCII(text)) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(wide(text).char32At(0), &status)) {
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
