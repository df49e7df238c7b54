#pragma once

#include "velmiro_mcp/platform/local/libraries/ICU.hpp"

#include <cstdint>
#include <string>
#include <string_view>

/// Conversions between this program's UTF-8 and ICU's UTF-16.
namespace velmiro::local {

/// Returns whether the text is ASCII. Most questions about such text need no ICU.
bool isASCII(std::string_view text);

inline std::int32_t lengthOf(std::u16string_view text) {
    return static_cast<std::int32_t>(text.size());
}

/// Returns the text that an ICU function writes. `write` is called with a buffer, its length and a
/// status, and returns the length of the text, even if the buffer is too short for it. Returns an
/// empty string if the function fails.
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

/// Converts between the encodings. Ill-formed sequences become U+FFFD.
std::u16string utf16(std::string_view text);
std::string utf8(std::u16string_view text);

} // namespace velmiro::local
