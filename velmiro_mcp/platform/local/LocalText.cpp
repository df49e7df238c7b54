#include "velmiro_mcp/ports/LocalizedText.hpp"

#include "velmiro_mcp/platform/local/libraries/Locale.hpp"
#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace velmiro {
namespace {

struct CloseText {
    void operator()(UText* text) const { local::icuCommon().utext_close(text); }
};

struct CloseBreaks {
    void operator()(UBreakIterator* breaks) const { local::icuCommon().ubrk_close(breaks); }
};

/// Returns whether each byte is a character of its own, unless a combining mark follows. CR is not:
/// CR LF is one character.
bool isPlain(std::string_view text) {
    return local::isASCII(text) && text.find('\r') == std::string_view::npos;
}

char loweredASCII(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Compares two ASCII texts; nullopt if they are not ASCII, or if the result depends on the
/// language, as it does for I and i.
std::optional<bool> equalInASCII(std::string_view left, std::string_view right) {
    if (!local::isASCII(left) || !local::isASCII(right)) {
        return std::nullopt;
    }
    if (!std::ranges::equal(left, right, {}, loweredASCII, loweredASCII)) {
        return false;
    }
    const bool depends = !std::ranges::equal(
        left, right, [](char one, char other) { return one == other || loweredASCII(one) != 'i'; });
    return depends ? std::nullopt : std::optional{true};
}

/// Lowercases by the rules of the user's language: in Turkish, I becomes ı, and İ becomes i.
std::u16string lowered(const std::u16string& text, const std::string& locale) {
    return local::fromICU(text.size(), [&](char16_t* into, std::int32_t size, UErrorCode* status) {
        return local::icuCommon().u_strToLower(into, size, text.data(), local::lengthOf(text),
                                               locale.c_str(), status);
    });
}

} // namespace

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) {
        return text;
    }
    if (isPlain(text.substr(0, count + 1))) {
        return text.substr(0, count);
    }
    const local::ICUCommon& icu = local::icuCommon();
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UText, CloseText> source{
        icu.utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status)};
    const std::unique_ptr<UBreakIterator, CloseBreaks> breaks{
        icu.ubrk_open(UBRK_CHARACTER, local::userLocale().c_str(), nullptr, 0, &status)};
    if (U_SUCCESS(status)) {
        icu.ubrk_setUText(breaks.get(), source.get(), &status);
    }
    if (U_FAILURE(status)) {
        return text;
    }
    std::int32_t end = icu.ubrk_first(breaks.get());
    for (std::size_t number = 0; number < count && end != UBRK_DONE; ++number) {
        end = icu.ubrk_next(breaks.get());
    }
    return end == UBRK_DONE ? text : text.substr(0, static_cast<std::size_t>(end));
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    constexpr auto longest = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max() / 4);
    if (left == right || left.size() > longest || right.size() > longest) {
        return left == right;
    }
    if (const auto known = equalInASCII(left, right)) {
        return *known;
    }
    // Canonical caseless matching: letters and their marks count, in any order and encoding.
    // Nothing is ignored, while a collation ignores punctuation and controls.
    const std::string locale = local::userLocale();
    const std::u16string wideLeft = lowered(local::utf16(left), locale);
    const std::u16string wideRight = lowered(local::utf16(right), locale);
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t order = local::icuCommon().unorm_compare(
        wideLeft.data(), local::lengthOf(wideLeft), wideRight.data(), local::lengthOf(wideRight),
        U_COMPARE_IGNORE_CASE, &status);
    return U_SUCCESS(status) && order == 0;
}

} // namespace velmiro
