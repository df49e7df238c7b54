#include "velmiro_mcp/platform/macos/Conversions.hpp"

#include "MCPStdio/text/UTF8.hpp"

#include <cmath>

namespace velmiro::macos {
namespace {

// Text is converted by way of UTF-16, which is what an NSString holds: the methods that take an
// encoding each treat NUL, byte order marks and malformed text in their own way.

constexpr char32_t firstBeyondUTF16 = 0x10000;

constexpr bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

std::string utf8Of(std::u16string_view units) {
    constexpr char32_t replacement = 0xFFFD;
    std::string text;
    text.reserve(units.size());
    for (std::size_t index = 0; index < units.size(); ++index) {
        char32_t scalar = units[index];
        const char32_t next = index + 1 < units.size() ? units[index + 1] : 0;
        if (isHighSurrogate(scalar) && isLowSurrogate(next)) {
            scalar = firstBeyondUTF16 + ((scalar - 0xD800) << 10U) + (next - 0xDC00);
            ++index;
        } else if (isHighSurrogate(scalar) || isLowSurrogate(scalar)) {
            scalar = replacement;
        }
        MCPStdio::appendUTF8(text, scalar);
    }
    return text;
}

/// Converts well-formed UTF-8: a sequence's first byte determines how many others follow.
std::u16string utf16Of(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    for (std::size_t index = 0; index < text.size();) {
        const auto lead = static_cast<unsigned char>(text[index++]);
        const int following = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        char32_t scalar =
            following == 0 ? lead : lead & (0x3FU >> static_cast<unsigned>(following));
        for (int count = 0; count < following && index < text.size(); ++count) {
            scalar = (scalar << 6U) | (static_cast<unsigned char>(text[index++]) & 0x3FU);
        }
        if (scalar < firstBeyondUTF16) {
            units.push_back(static_cast<char16_t>(scalar));
        } else {
            const char32_t beyond = scalar - firstBeyondUTF16;
            units.push_back(static_cast<char16_t>(0xD800 + (beyond >> 10U)));
            units.push_back(static_cast<char16_t>(0xDC00 + (beyond & 0x3FFU)));
        }
    }
    return units;
}

std::string orUnknown(std::string description) {
    return description.empty() ? "the system gives no reason" : description;
}

} // namespace

std::optional<std::string> textOf(NSString* string) {
    if (string == nil) {
        return std::nullopt;
    }
    std::u16string units(string.length, u'\0');
    static_assert(sizeof(unichar) == sizeof(char16_t));
    [string getCharacters:reinterpret_cast<unichar*>(units.data())
                    range:NSMakeRange(0, units.size())];
    return utf8Of(units);
}

std::string textOrEmpty(NSString* string) {
    return textOf(string).value_or("");
}

NSString* stringOf(std::string_view text) {
    const std::u16string units = utf16Of(text);
    return [NSString stringWithCharacters:reinterpret_cast<const unichar*>(units.data())
                                   length:units.size()];
}

NSString* stringOrNil(const std::optional<std::string>& text) {
    return text ? stringOf(*text) : nil;
}

std::optional<Instant> instantOf(NSDate* date) {
    constexpr double most = 1e15; // milliseconds; some 30,000 years
    if (date == nil) {
        return std::nullopt;
    }
    const double milliseconds = date.timeIntervalSince1970 * 1000;
    if (!(std::abs(milliseconds) < most)) { // true for NaN as well
        return std::nullopt;
    }
    return Instant{std::chrono::milliseconds{std::llround(milliseconds)}};
}

NSDate* dateOf(Instant instant) {
    const auto milliseconds = static_cast<double>(instant.time_since_epoch().count());
    return [NSDate dateWithTimeIntervalSince1970:milliseconds / 1000];
}

std::string descriptionOf(NSError* error) {
    return orUnknown(textOrEmpty(error.localizedDescription));
}

std::string descriptionOf(NSException* exception) {
    const std::string reason = textOrEmpty(exception.reason);
    return orUnknown(reason.empty() ? textOrEmpty(exception.name) : reason);
}

} // namespace velmiro::macos
