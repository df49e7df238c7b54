#pragma once

#include <string>
#include <string_view>

/// The likeness of texts in a search. Texts are well-formed UTF-8.
namespace velmiro::osascript {

/// Returns what is equal for texts that a search takes for equal: without case, diacritics and
/// compatibility forms (full-width letters, ligatures). ß and ss are alike, ς and σ, ı and i. The
/// vowel signs of Indic scripts and the voicing marks of kana count.
std::string folded(std::string_view text);

// An outline is what is certain of a folded text without looking at it as a whole: its letters and
// signs in order, taken apart, without combining marks and without ASCII other than letters and
// digits. If a folded text contains another, its outline contains the other's.

/// Returns the outline of a text that is folded already.
std::u32string outlineOfFolded(std::string_view folded);

/// Returns the outline of one character once it is folded. The outline of a folded text is those of
/// its characters, one after the other.
std::u32string outlineOfCharacter(char32_t character);

} // namespace velmiro::osascript
