#include "velmiro_mcp/ports/LocalizedText.hpp"

#include "velmiro_mcp/platform/macos/Guard.hpp"

namespace velmiro {
namespace {

using namespace macos;

/// Returns the number of UTF-16 units in the first `count` characters of `string`.
NSUInteger unitsOfCharacters(NSString* string, std::size_t count) {
    NSUInteger end = 0;
    for (; count > 0 && end < string.length; --count) {
        end = NSMaxRange([string rangeOfComposedCharacterSequenceAtIndex:end]);
        // CR LF is one line break; the framework counts two characters.
        if ([string characterAtIndex:end - 1] == '\r' && end < string.length &&
            [string characterAtIndex:end] == '\n') {
            ++end;
        }
    }
    return end;
}

/// Returns the number of bytes of well-formed UTF-8 that correspond to `units` UTF-16 units.
std::size_t bytesOfUnits(std::string_view text, NSUInteger units) {
    std::size_t end = 0;
    while (end < text.size() && units > 0) {
        const auto lead = static_cast<unsigned char>(text[end]);
        const std::size_t bytes = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        units -= bytes == 4 ? std::min<NSUInteger>(units, 2) : 1;
        end += bytes;
    }
    return std::min(end, text.size());
}

} // namespace

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) {
        return text;
    }
    const auto units = guarded([&](Problem&) { return unitsOfCharacters(stringOf(text), count); });
    return text.substr(0, bytesOfUnits(text, units));
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return guarded([&](Problem&) {
        return [stringOf(left) localizedCaseInsensitiveCompare:stringOf(right)] == NSOrderedSame;
    });
}

} // namespace velmiro
