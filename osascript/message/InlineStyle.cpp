#include "osascript/message/InlineStyle.hpp"

#include <algorithm>
#include <string>

namespace velmiro::osascript {
namespace {

/// Returns the text in small letters and without blanks, which mean nothing in the declarations
/// that matter here.
std::string plainStyle(std::string_view style) {
    std::string plain;
    for (const char letter : style) {
        if (letter >= 'A' && letter <= 'Z') {
            plain += static_cast<char>(letter - 'A' + 'a');
        } else if (static_cast<unsigned char>(letter) > ' ') {
            plain += letter;
        }
    }
    return plain;
}

/// Returns the value of a property; an empty one if it is not declared.
std::string_view valueOf(std::string_view property, std::string_view plain) {
    constexpr std::string_view important = "!important";
    std::string_view value;
    bool isImportant = false;
    while (!plain.empty()) {
        std::string_view declared = plain.substr(0, plain.find(';'));
        plain.remove_prefix(std::min(declared.size() + 1, plain.size()));
        const std::size_t colon = declared.find(':');
        if (declared.substr(0, colon) != property || colon == std::string_view::npos) {
            continue;
        }
        declared.remove_prefix(colon + 1);
        if (declared.ends_with(important)) {
            declared.remove_suffix(important.size());
            isImportant = true;
        } else if (isImportant) {
            continue;
        }
        value = declared;
    }
    return value;
}

} // namespace

bool hidesElement(std::string_view style) {
    const std::string plain = plainStyle(style);
    const std::string_view visibility = valueOf("visibility", plain);
    return valueOf("display", plain) == "none" || visibility == "hidden" ||
           visibility == "collapse";
}

} // namespace velmiro::osascript
