#pragma once

#include <string>
#include <string_view>

/// The operations on Unicode text that cards and their search need.
namespace velmiro::local {

/// Converts text in another character set to UTF-8. A name means the largest set that programs
/// write under it: ISO-8859-1 is windows-1252. If the set is unknown, repairs the text as UTF-8.
std::string decodedText(std::string_view bytes, std::string_view characterSet);

/// Returns the letters and digits of a text in the form that a search compares: without case,
/// diacritics or the points of Hebrew and Arabic, wide and narrow forms alike, ß as ss. White space
/// of every kind becomes a space. Anything else between letters becomes a hyphen.
std::string foldedLetters(std::string_view text);

/// Returns whether the text is in a script that writes no space between family and given name.
bool isWrittenWithoutBlanks(std::string_view text);

} // namespace velmiro::local
