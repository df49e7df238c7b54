#pragma once

#include <string>
#include <string_view>

/// The lines of a calendar file (RFC 5545, 3.1), and those of a card, which look the same.
namespace velmiro::local {

/// Joins folded lines in place: a line break that a blank follows goes, and the blank with it.
void unfold(std::string& text);

/// The bytes of a file as text: folded lines joined, valid UTF-8, without a byte order mark. A NUL
/// becomes U+FFFD like any byte that is no text; other control characters stay.
/// Lines are joined first, for a fold may lie within a character.
std::string unfoldedText(std::string bytes);

/// NAME;PARAMETER=value;PARAMETER="value":value. Views into the text that was read.
struct ContentLine {
    std::string_view name;
    std::string_view parameters; ///< with the semicolon before each
    std::string_view value;

    [[nodiscard]] bool is(std::string_view wanted) const;

    /// The value of a parameter, without its quotes; empty when there is none. Of a list in quotes
    /// the first value, of one without quotes all of it: programs write names with commas bare.
    [[nodiscard]] std::string_view parameter(std::string_view wanted) const;
};

struct Parameter {
    std::string_view name;
    std::string_view content; ///< as `ContentLine::parameter` returns it
};

/// Takes the first of a line's parameters from the front of those that are left, which are some and
/// begin with the semicolon before it.
Parameter takeParameter(std::string_view& parameters);

/// Takes the next line from the front of an unfolded text; a line that is not of the form above
/// has no name.
ContentLine takeLine(std::string_view& text);

/// Whether two words of the format are the same; the case of ASCII letters does not count.
bool sameWord(std::string_view left, std::string_view right);

/// Returns the text without the format's white space, space and tab, at both ends. Unicode's other
/// spaces stay, unlike with `trimSpacesAndTabs`: in the format they are characters like any other.
std::string_view trimWSP(std::string_view text);

/// What an escaped TEXT value says. A backslash that begins no known escape stays.
std::string unescapedText(std::string_view value);

} // namespace velmiro::local
