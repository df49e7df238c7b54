#include "velmiro_mcp/platform/local/libraries/UTF16.hpp"

#include <algorithm>

namespace velmiro::local {
namespace {

constexpr UChar32 replacement = 0xFFFD;

} // namespace

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text,
                               [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::u16string utf16(std::string_view text) {
    // UTF-16 has at most as many units as UTF-8 has bytes.
    return fromICU(text.size(), [&](char16_t* into, std::int32_t size, UErrorCode* status) {
        std::int32_t length = 0;
        icuCommon().u_strFromUTF8WithSub(into, size, &length, text.data(),
                                         static_cast<std::int32_t>(text.size()), replacement,
                                         nullptr, status);
        return length;
    });
}

std::string utf8(std::u16string_view text) {
    std::string narrow(3 * text.size(), '\0'); // at most three bytes for each unit
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    icuCommon().u_strToUTF8WithSub(narrow.data(), static_cast<std::int32_t>(narrow.size()), &length,
                                   text.data(), lengthOf(text), replacement, nullptr, &status);
    narrow.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return narrow;
}

} // namespace velmiro::local
