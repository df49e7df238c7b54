#include "velmiro_mcp/platform/Platform.hpp"

#include "velmiro_mcp/platform/local/Locale.hpp"

#include <unicode/ubrk.h>
#include <unicode/unorm.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

namespace velmiro {
namespace {

struct CloseText {
    void operator()(UText* text) const { utext_close(text); }
};

struct CloseBreaks {
    void operator()(UBreakIterator* breaks) const { ubrk_close(breaks); }
};

/// Whether each of these bytes is a character of its own, whatever follows but a combining one. CR
/// is not: with LF it makes one character.
bool isPlain(std::string_view text) {
    return std::ranges::all_of(text, [](char letter) {
        return static_cast<unsigned char>(letter) < 0x80 && letter != '\r';
    });
}

std::u16string utf16(std::string_view text) {
    std::u16string wide(text.size(), u'\0'); // never longer than the UTF-8
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(wide.data(), static_cast<int32_t>(wide.size()), &length, text.data(),
                  static_cast<int32_t>(text.size()), &status);
    wide.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return wide;
}

/// Small letters as the user's language has them: in Turkish, I and İ are those of ı and i.
std::u16string lowered(const std::u16string& text, const std::string& locale) {
    const auto lower = [&](std::u16string& into) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length =
            u_strToLower(into.data(), static_cast<int32_t>(into.size()), text.data(),
                         static_cast<int32_t>(text.size()), locale.c_str(), &status);
        return length > 0 ? static_cast<std::size_t>(length) : 0;
    };
    std::u16string result(text.size(), u'\0');
    if (const std::size_t length = lower(result); length > result.size()) {
        result.resize(length);
        lower(result);
    } else {
        result.resize(length);
    }
    return result;
}

} // namespace

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) {
        return text;
    }
    if (isPlain(text.substr(0, count + 1))) {
        return text.substr(0, count);
    }
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UText, CloseText> source{
        utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status)};
    const std::unique_ptr<UBreakIterator, CloseBreaks> breaks{
        ubrk_open(UBRK_CHARACTER, local::userLocale().c_str(), nullptr, 0, &status)};
    if (U_SUCCESS(status)) {
        ubrk_setUText(breaks.get(), source.get(), &status);
    }
    if (U_FAILURE(status)) {
        return text;
    }
    int32_t end = ubrk_first(breaks.get());
    for (std::size_t number = 0; number < count && end != UBRK_DONE; ++number) {
        end = ubrk_next(breaks.get());
    }
    return end == UBRK_DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    constexpr auto longest = static_cast<std::size_t>(std::numeric_limits<int32_t>::max() / 4);
    if (left == right || left.size() > longest || right.size() > longest) {
        return left == right;
    }
    // Canonical caseless matching: the letters count and their marks, in whatever order or form
    // they are encoded, and nothing is ignored as a collation ignores punctuation or controls.
    const std::string locale = local::userLocale();
    const std::u16string wideLeft = lowered(utf16(left), locale);
    const std::u16string wideRight = lowered(utf16(right), locale);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t order =
        unorm_compare(wideLeft.data(), static_cast<int32_t>(wideLeft.size()), wideRight.data(),
                      static_cast<int32_t>(wideRight.size()), U_COMPARE_IGNORE_CASE, &status);
    return U_SUCCESS(status) && order == 0;
}

} // namespace velmiro
