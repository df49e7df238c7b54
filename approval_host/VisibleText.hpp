#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text from elsewhere, made so that what is seen is what is there.
///
/// Control characters are shown as their pictures (␛ for escape); whatever else cannot be seen,
/// reorders text or breaks lines is shown as its number (\u{202E}). So the result is one line, and
/// no character in it moves the cursor. What emoji and scripts need is kept where they need it: a
/// joiner between two characters that are not Latin, Greek or Cyrillic, a selector behind the
/// character it is about, and up to four marks on one character.
namespace velmiro::host {

/// The text in visible characters. Where it has more than `most` characters its middle is replaced
/// by a note of how many are left out; both ends stay, since a summary begins with what and ends
/// with when. Broken UTF-8 becomes U+FFFD.
std::string visibleText(std::string_view text, std::size_t most);

/// The same for a name: everything is shown by its number but ASCII letters, digits, `_`, `-`,
/// `.` and `/`. So it holds no blank, but in the note of what is left out, and no sentence.
std::string visibleName(std::string_view name, std::size_t most);

} // namespace velmiro::host
