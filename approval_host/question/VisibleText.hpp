#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text from elsewhere, changed so that everything in it can be seen.
///
/// Control characters are shown as their pictures (␛ for escape). Any other character that is
/// invisible, reorders text or breaks lines is shown as its number (\u{202E}). The result is a
/// single line, and no character in it moves the cursor. What emoji and scripts need is kept where
/// they need it: a joiner between two characters that are not Latin, Greek or Cyrillic, a selector
/// after the character it applies to, and up to four marks on one character.
namespace velmiro::host {

/// Returns the text in visible characters. If it has more than `most` characters, a note of how
/// many are left out replaces its middle. Both ends are kept, since a summary begins with what and
/// ends with when. Ill-formed UTF-8 becomes U+FFFD.
std::string visibleText(std::string_view text, std::size_t most);

/// Returns a name in the same way, with every character shown by its number except ASCII letters,
/// digits, `_`, `-`, `.` and `/`. The result is never a sentence: its only blanks are in the note
/// of what is left out.
std::string visibleName(std::string_view name, std::size_t most);

} // namespace velmiro::host
