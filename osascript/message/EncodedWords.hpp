#pragma once

#include <string>
#include <string_view>

namespace velmiro::osascript {

/// Returns the text in UTF-8 of the raw value of a header field: encoded words (RFC 2047) decoded,
/// line breaks dropped, and bytes beyond ASCII read as UTF-8 if the value is, otherwise as
/// windows-1252.
///
/// As lenient as mail programs are: words count within quotes and beside other text, they may hold
/// blanks, and damaged base64 stands for what is left of it. Adjacent words of one character set
/// are joined before they are decoded: some programs cut a character in two. Time and memory are
/// linear in the length of any value. Throws PlatformError if a word needs ICU, which cannot be
/// loaded.
std::string decodedWords(std::string_view value);

} // namespace velmiro::osascript
