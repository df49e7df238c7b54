#include "osascript/message/NamedCharset.hpp"

#include <algorithm>

namespace velmiro::osascript {

using namespace std::string_view_literals;

std::string_view fromWord(std::string_view text, std::string_view word) {
    const auto found = std::ranges::search(text, word, [](char one, char other) {
        return one == other || (one >= 'A' && one <= 'Z' && one - 'A' + 'a' == other);
    });
    return {found.begin(), text.end()};
}

std::string_view namedCharset(std::string_view text) {
    constexpr auto name = "charset"sv;
    constexpr auto blanks = " \t\r\n\f"sv;
    for (text = fromWord(text, name); !text.empty(); text = fromWord(text, name)) {
        text.remove_prefix(name.size());
        const auto value = text.substr(std::min(text.find_first_not_of(blanks), text.size()));
        if (value.starts_with('=')) {
            const std::size_t begin = value.find_first_not_of(" \t\r\n\f\"'", 1);
            const auto rest = value.substr(std::min(begin, value.size()));
            return rest.substr(0, rest.find_first_of(" \t\r\n\f\"';/>"));
        }
    }
    return {};
}

} // namespace velmiro::osascript
