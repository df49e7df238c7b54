#include "osascript/mail/OneLine.hpp"

#include "velmiro_mcp/base/Text.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace velmiro::osascript {
namespace {

/// Returns the length of the control character or line end at the beginning; zero if there is none.
std::size_t controlAt(std::string_view text) {
    const auto byte = [&](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7F) {
        return 1;
    }
    if (byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) < 0xA0) {
        return 2;
    }
    const bool isSeparator = byte(0) == 0xE2 && byte(1) == 0x80 && (byte(2) | 1U) == 0xA9;
    return isSeparator ? 3 : 0;
}

bool isPlain(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x20 && byte < 0x7F;
}

} // namespace

std::string inOneLine(std::string text) {
    if (!std::ranges::all_of(text, isPlain)) {
        std::string line;
        line.reserve(text.size());
        for (std::string_view rest = text; !rest.empty();) {
            std::size_t length = controlAt(rest);
            if (length == 0) {
                line += rest.front();
                rest.remove_prefix(1);
                continue;
            }
            for (; length > 0 && !rest.empty(); length = rest.empty() ? 0 : controlAt(rest)) {
                rest.remove_prefix(length);
            }
            line += ' ';
        }
        text = std::move(line);
    }
    return std::string{trim(text)};
}

} // namespace velmiro::osascript
