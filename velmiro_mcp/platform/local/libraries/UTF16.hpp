#pragma once

#include "velmiro_mcp/platform/local/libraries/ICU.hpp"

#include <cstdint>
#include <string>
#include <string_view>

/// Text as ICU takes it and gives it.
namespace velmiro::local {

/// Whether most questions can be answered without ICU.
bool isASCII(std::string_view text);

inline std::int32_t lengthOf(std::u16string_view text) {
    return static_cast<std::int32_t>(text.size());
}

/// What a function of ICU writes: called with a buffer, its length and a status, it gives the
/// length of its text, also where that is too long for the buffer. Empty when it fails.
template <typename Write>
std::u16string fromICU(std::size_t expected, const Write& write) {
    std::u16string text(expected, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = write(text.data(), lengthOf(text), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        text.resize(static_cast<std::size_t>(length));
        status = U_ZERO_ERROR;
        length = write(text.data(), lengthOf(text), &status);
    }
    text.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
    return text;
}

/// What is ill-formed becomes U+FFFD, in both directions.
std::u16string utf16(std::string_view text);
std::string utf8(std::u16string_view text);

} // namespace velmiro::local
