#pragma once

#include <string>
#include <string_view>

/// What cards and their search need of ICU's tables.
namespace velmiro::local {

/// Text in another character set as UTF-8; as UTF-8 to be repaired where the set is not known.
std::string decodedText(std::string_view bytes, std::string_view characterSet);

/// The letters and digits of a text as a search compares them: without case, without diacritics,
/// wide and narrow forms the same, ß as ss. White space of every kind is a blank, and whatever else
/// stands between letters is a hyphen.
std::string foldedLetters(std::string_view text);

/// Whether the text is of a script in which family and given name are written without a blank.
bool isWrittenWithoutBlanks(std::string_view text);

} // namespace velmiro::local
