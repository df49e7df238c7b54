#pragma once

#include <string>
#include <string_view>

/// The content lines of a calendar file (RFC 5545, 3.1). The lines of a vCard have the same form.
namespace velmiro::local {

/// Unfolds lines in place: removes each line break before a space or tab, and that space or tab.
void unfold(std::string& text);

/// Returns the bytes of a file as unfolded, valid UTF-8 without a byte order mark. A NUL becomes
/// U+FFFD like any byte that is not text; other control characters stay. Unfolding comes first,
/// because a fold can split a character.
std::string unfoldedText(std::string bytes);

/// NAME;PARAMETER=value;PARAMETER="value":value. The views refer to the text from which it was
/// read.
struct ContentLine {
    std::string_view name;
    std::string_view parameters; ///< with the semicolon before each
    std::string_view value;

    [[nodiscard]] bool is(std::string_view wanted) const;

    /// Returns the value of a parameter without its quotes, or an empty string if there is none. Of
    /// a quoted list, returns the first value; of an unquoted one, the whole list, because programs
    /// write names with commas unquoted.
    [[nodiscard]] std::string_view parameter(std::string_view wanted) const;
};

struct Parameter {
    std::string_view name;
    std::string_view content; ///< as `ContentLine::parameter` returns it
};

/// Takes the first parameter from the front of `parameters`, which must begin with the semicolon
/// before it.
Parameter takeParameter(std::string_view& parameters);

/// Takes the next line from the front of an unfolded text. A line that is not of the form above has
/// no name.
ContentLine takeLine(std::string_view& text);

/// Returns whether two words of the format are equal, ignoring the case of ASCII letters.
bool sameWord(std::string_view left, std::string_view right);

/// Returns the text without the format's white space, spaces and tabs, at both ends. Unlike
/// `trimSpacesAndTabs`, keeps Unicode's other spaces, which the format treats as text.
std::string_view trimWSP(std::string_view text);

/// Returns a TEXT value without its escapes. A backslash that begins no known escape stays.
std::string unescapedText(std::string_view value);

} // namespace velmiro::local
