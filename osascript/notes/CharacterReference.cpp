#include "osascript/notes/CharacterReference.hpp"

#include <array>
#include <charconv>
#include <cstdint>

namespace velmiro::osascript {
namespace {

struct Named {
    std::string_view reference;
    char32_t character;
};
constexpr std::array<Named, 6> named{{{"&amp;", U'&'},
                                      {"&lt;", U'<'},
                                      {"&gt;", U'>'},
                                      {"&quot;", U'"'},
                                      {"&apos;", U'\''},
                                      {"&nbsp;", U'\u00A0'}}};

char32_t valid(std::uint32_t number) {
    constexpr char32_t replacement = 0xFFFD;
    const bool isCharacter =
        number > 0 && number <= 0x10FFFF && (number < 0xD800 || number >= 0xE000);
    return isCharacter ? number : replacement;
}

std::optional<CharacterReference> numbered(std::string_view text, std::size_t prefix, int base,
                                           std::size_t mostDigits) {
    std::uint32_t number = 0;
    const char* const begin = text.data() + prefix;
    const char* const end = text.data() + text.size();
    const auto [next, error] = std::from_chars(begin, end, number, base);
    const auto digits = static_cast<std::size_t>(next - begin);
    if (digits == 0 || digits > mostDigits || next == end || *next != ';') {
        return std::nullopt;
    }
    return CharacterReference{prefix + digits + 1, valid(number)};
}

} // namespace

std::optional<CharacterReference> characterReference(std::string_view text) {
    if (text.starts_with("&#x") || text.starts_with("&#X")) {
        return numbered(text, 3, 16, 6);
    }
    if (text.starts_with("&#")) {
        return numbered(text, 2, 10, 7);
    }
    for (const Named& one : named) {
        if (text.starts_with(one.reference)) {
            return CharacterReference{one.reference.size(), one.character};
        }
    }
    return std::nullopt;
}

} // namespace velmiro::osascript
