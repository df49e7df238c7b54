#include "velmiro_mcp/base/Text.hpp"

#include <span>
#include <string>

namespace velmiro {
namespace {

using namespace std::string_view_literals;

/// Unicode's space separators (general category Zs), and the tab.
constexpr std::string_view spacesAndTab[] = {
    " "sv,
    "\t"sv,
    "\xC2\xA0"sv,
    "\xE1\x9A\x80"sv,
    "\xE2\x80\x80"sv,
    "\xE2\x80\x81"sv,
    "\xE2\x80\x82"sv,
    "\xE2\x80\x83"sv,
    "\xE2\x80\x84"sv,
    "\xE2\x80\x85"sv,
    "\xE2\x80\x86"sv,
    "\xE2\x80\x87"sv,
    "\xE2\x80\x88"sv,
    "\xE2\x80\x89"sv,
    "\xE2\x80\x8A"sv,
    "\xE2\x80\xAF"sv,
    "\xE2\x81\x9F"sv,
    "\xE3\x80\x80"sv,
};

constexpr std::string_view lineBreaks[] = {
    "\n"sv, "\v"sv, "\f"sv, "\r"sv, "\xC2\x85"sv, "\xE2\x80\xA8"sv, "\xE2\x80\xA9"sv,
};

using Blanks = std::span<const std::string_view>;

/// Removes one blank from the front, or the back. Returns false if there is none.
bool removeFront(std::string_view& text, Blanks blanks) noexcept {
    for (const std::string_view blank : blanks) {
        if (text.starts_with(blank)) {
            text.remove_prefix(blank.size());
            return true;
        }
    }
    return false;
}

bool removeBack(std::string_view& text, Blanks blanks) noexcept {
    for (const std::string_view blank : blanks) {
        if (text.ends_with(blank)) {
            text.remove_suffix(blank.size());
            return true;
        }
    }
    return false;
}

} // namespace

std::string_view trim(std::string_view text) noexcept {
    while (removeFront(text, spacesAndTab) || removeFront(text, lineBreaks)) {
    }
    while (removeBack(text, spacesAndTab) || removeBack(text, lineBreaks)) {
    }
    return text;
}

std::string_view trimSpacesAndTabs(std::string_view text) noexcept {
    while (removeFront(text, spacesAndTab)) {
    }
    while (removeBack(text, spacesAndTab)) {
    }
    return text;
}

std::vector<std::string_view> splitAtCommas(std::string_view text) {
    std::vector<std::string_view> pieces;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find(','));
        if (!piece.empty()) {
            pieces.push_back(piece);
        }
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
    }
    return pieces;
}

} // namespace velmiro
