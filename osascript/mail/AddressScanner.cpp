#include "osascript/mail/AddressScanner.hpp"

#include <algorithm>

namespace velmiro::osascript {
namespace {

bool isBlank(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte <= 0x20 || byte == 0x7F;
}

} // namespace

bool AddressScanner::take(char character) noexcept {
    const bool isNext = !isAtEnd() && next() == character;
    at_ += isNext ? 1 : 0;
    return isNext;
}

bool AddressScanner::isAtBlank() const noexcept {
    return !isAtEnd() && isBlank(next());
}

bool AddressScanner::isInsideAngle() noexcept {
    if (angle_ < at_) {
        angle_ = std::min(value_.find_first_of("<>", at_), value_.size());
    }
    return angle_ < value_.size() && value_[angle_] == '>';
}

std::optional<std::string_view> AddressScanner::takeQuoted() {
    if (isAtEnd() || next() != '"' || !hasClosingQuote_) {
        return std::nullopt;
    }
    std::size_t end = at_ + 1;
    while (end < value_.size() && value_[end] != '"') {
        end += value_[end] == '\\' ? 2 : 1;
    }
    hasClosingQuote_ = end < value_.size();
    return hasClosingQuote_ ? takeTo(end + 1) : std::nullopt;
}

std::optional<std::string_view> AddressScanner::takeComment() {
    if (isAtEnd() || next() != '(' || !hasClosingBracket_) {
        return std::nullopt;
    }
    std::size_t depth = 0;
    for (std::size_t at = at_; at < value_.size(); ++at) {
        switch (value_[at]) {
        case '\\':
            ++at;
            break;
        case '(':
            ++depth;
            break;
        case ')':
            if (--depth == 0) {
                return takeTo(at + 1);
            }
            break;
        default:
            break;
        }
    }
    hasClosingBracket_ = false; // a later one would close what is within this one
    return std::nullopt;
}

std::optional<std::string_view> AddressScanner::takeEncodedWord() {
    constexpr std::string_view opening = "=?";
    constexpr std::string_view closing = "?=";
    constexpr std::size_t longestLabel = 64;
    const std::string_view rest = value_.substr(at_);
    if (!rest.starts_with(opening)) {
        return std::nullopt;
    }
    const std::size_t mark = rest.substr(0, longestLabel).find_first_of("? \t=", opening.size());
    if (mark == std::string_view::npos || mark == opening.size() || mark + 3 > rest.size() ||
        rest[mark] != '?' || rest[mark + 2] != '?' ||
        std::string_view{"bBqQ"}.find(rest[mark + 1]) == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t text = at_ + mark + 3;
    if (wordEnd_ < text) {
        wordEnd_ = std::min(value_.find(closing, text), value_.size());
    }
    if (wordEnd_ == value_.size() ||
        value_.substr(text, wordEnd_ - text).find(opening) != std::string_view::npos) {
        return std::nullopt;
    }
    return takeTo(wordEnd_ + closing.size());
}

std::optional<std::string_view> AddressScanner::takeLiteral() {
    constexpr std::size_t longest = 256;
    const std::string_view rest = value_.substr(at_, longest);
    const std::size_t end = rest.find_first_of("]<>,\" ");
    return rest.starts_with('[') && end != std::string_view::npos && rest[end] == ']'
               ? takeTo(at_ + end + 1)
               : std::nullopt;
}

std::optional<std::string_view> AddressScanner::takeTo(std::size_t end) {
    const std::string_view taken = value_.substr(at_, end - at_);
    at_ = end;
    return taken;
}

std::string contentsOf(std::string_view enclosed) {
    std::string contents;
    const std::string_view inner = enclosed.substr(1, enclosed.size() - 2);
    for (std::size_t at = 0; at < inner.size(); ++at) {
        if (isBlank(inner[at])) {
            contents += contents.ends_with(' ') ? "" : " ";
        } else {
            at += inner[at] == '\\' && at + 1 < inner.size() ? 1 : 0;
            contents += inner[at];
        }
    }
    return contents;
}

} // namespace velmiro::osascript
