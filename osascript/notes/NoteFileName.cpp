#include "osascript/notes/NoteFileName.hpp"

#include "osascript/text/CharacterKinds.hpp"
#include "osascript/text/Characters.hpp"
#include "velmiro_mcp/ports/LocalizedText.hpp"

#include <algorithm>

namespace velmiro::osascript {
namespace {

constexpr std::string_view ending = ".md";
constexpr std::size_t roomForNumber = 8;
constexpr std::size_t most = 255 - ending.size() - roomForNumber; // bytes of a name on Linux

/// Returns whether a name cannot hold the character, or a reader would be misled by it: control
/// characters, line ends, marks that turn the direction of what follows, and the slash.
bool isUnfit(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == U'/' ||
           character == 0x2028 || character == 0x2029 ||
           (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

/// Returns the title with one blank for whatever is white space or unfit.
std::string cleaned(std::string_view title) {
    std::string clean;
    for (std::size_t at = 0; at < title.size();) {
        const std::size_t begin = at;
        const bool isBlank = spaceAtFront(title.substr(at)) > 0;
        if (isUnfit(nextCharacter(title, at)) || isBlank) {
            clean += clean.ends_with(' ') ? "" : " ";
        } else {
            clean += title.substr(begin, at - begin);
        }
    }
    return clean.substr(std::min(clean.find_first_not_of(". "), clean.size()));
}

/// Returns as many characters, as a reader counts them, as fit.
std::string_view shortened(std::string_view text) {
    if (text.size() <= most) {
        return text;
    }
    std::size_t fitting = 0; // this many characters fit, and `excessive` do not
    std::size_t excessive = most + 1;
    while (fitting + 1 < excessive) {
        const std::size_t middle = (fitting + excessive) / 2;
        (firstCharacters(text, middle).size() <= most ? fitting : excessive) = middle;
    }
    return firstCharacters(text, fitting);
}

} // namespace

std::string noteFileName(std::string_view title, int number) {
    const std::string clean = cleaned(title);
    std::string_view stem = shortened(clean);
    stem = stem.substr(0, stem.find_last_not_of(". ") + 1);
    std::string name{stem.empty() ? "Note" : stem};
    if (number > 0) {
        name += " " + std::to_string(number + 1);
    }
    return name.append(ending);
}

} // namespace velmiro::osascript
