#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmiro::osascript {

/// The characters of a list of addresses, from its beginning to its end, in linear time: what is
/// opened and never closed is looked for once.
class AddressScanner {
public:
    explicit AddressScanner(std::string_view value) : value_{value} {}

    [[nodiscard]] bool isAtEnd() const noexcept { return at_ == value_.size(); }
    [[nodiscard]] char next() const noexcept { return value_[at_]; } ///< not at the end
    char take() noexcept { return value_[at_++]; }                   ///< likewise
    /// Takes a character if it comes next.
    bool take(char character) noexcept;

    /// Returns whether a blank comes next, or a control character, which counts as one.
    [[nodiscard]] bool isAtBlank() const noexcept;

    /// Returns whether the next angle bracket is a closing one.
    [[nodiscard]] bool isInsideAngle() noexcept;

    // Each takes the whole of something, which it returns as it is written, or nothing: nullopt.
    std::optional<std::string_view> takeQuoted();      ///< `"Berg, \"Zo\" Ana"`
    std::optional<std::string_view> takeComment();     ///< `(one (within another))`
    std::optional<std::string_view> takeEncodedWord(); ///< `=?utf-8?Q?Berg, Ana?=`
    std::optional<std::string_view> takeLiteral();     ///< `[IPv6:::1]`

private:
    std::optional<std::string_view> takeTo(std::size_t end);

    std::string_view value_;
    std::size_t at_ = 0;
    bool hasClosingQuote_ = true;
    bool hasClosingBracket_ = true;
    std::size_t angle_ = 0;   ///< the index of the last angle bracket looked for
    std::size_t wordEnd_ = 0; ///< the index of the last mark found that ends an encoded word
};

/// Returns what is within the quotes or brackets: without them, each run of blanks as one, and
/// without the backslashes before characters.
std::string contentsOf(std::string_view enclosed);

} // namespace velmiro::osascript
