#include "velmiro_mcp/platform/local/libraries/Locale.hpp"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace velmiro::local {
namespace {

constexpr const char* plainEnglish = "en_GB"; // spells out the month, and counts 24 hours

bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Removes the part before the next `_` or `-` from a tag, and returns it.
std::string_view takePart(std::string_view& tag) {
    const auto end = std::min(tag.find_first_of("_-"), tag.size());
    const auto part = tag.substr(0, end);
    tag.remove_prefix(std::min(end + 1, tag.size()));
    return part;
}

/// Returns whether the tag is a language of two or three letters, with or without a script and a
/// region. ICU copies a locale into buffers that longer languages overrun.
bool isLanguageTag(std::string_view tag) {
    if (tag.ends_with('_') || tag.ends_with('-')) {
        return false;
    }
    const auto language = takePart(tag);
    if (language.size() < 2 || language.size() > 3 || !std::ranges::all_of(language, isLetter)) {
        return false;
    }
    auto next = takePart(tag);
    if (next.size() == 4 && std::ranges::all_of(next, isLetter)) {
        next = takePart(tag);
    }
    const bool isRegion = (next.size() == 2 && std::ranges::all_of(next, isLetter)) ||
                          (next.size() == 3 && std::ranges::all_of(next, isDigit));
    return tag.empty() && (next.empty() || isRegion);
}

} // namespace

std::string userLocale() {
    for (const char* const name : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value == nullptr || *value == '\0') {
            continue;
        }
        // Of de_DE.UTF-8@euro, only language and region matter. C and POSIX name no language.
        const std::string_view text = value;
        const auto locale = text.substr(0, text.find_first_of(".@"));
        return isLanguageTag(locale) ? std::string{locale} : plainEnglish;
    }
    return plainEnglish;
}

} // namespace velmiro::local
