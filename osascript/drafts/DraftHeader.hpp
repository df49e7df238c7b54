#pragma once

#include <string>
#include <string_view>

/// Texts as the header of a message holds them. They are read as they were given: a text that some
/// reader would change (blanks that meet a fold, what looks like an encoded word) is encoded whole.
namespace velmiro::osascript {

/// Returns the text with a blank for every run of control characters and line ends, none of which
/// a header can hold.
std::string singleLine(std::string_view text);

/// Returns whether all characters are printable ASCII.
bool isPrintable(std::string_view text);

/// Returns whether a line can be folded so that its longest part is far below the limit of 998
/// bytes.
bool isFoldable(std::string_view line);

/// Returns a text as the value of a field without structure, such as Subject.
std::string unstructured(std::string_view text);

/// Returns a name as it stands before an address: a quoted string, or encoded words.
std::string phrase(std::string_view name);

/// Returns the lines of a field after its colon. Lines have at most 76 characters where possible.
/// Only a blank between two other characters becomes a fold, because some readers join blanks.
std::string folded(std::string_view field, std::string_view value);

} // namespace velmiro::osascript
