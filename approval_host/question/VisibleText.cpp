#include "approval_host/question/VisibleText.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "approval_host/question/Scalars.hpp"

#include <array>
#include <cstdio>
#include <utility>

namespace velmiro::host {

namespace {

constexpr int mostMarks = 4;
/// Emoji, and the scripts that use joiners, begin here. Between letters below it a joiner is only
/// hidden.
constexpr char32_t firstJoined = 0x0600;
constexpr char32_t enclosingKeycap = 0x20E3;

void appendNumber(std::string& shown, char32_t scalar) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "\\u{%X}", static_cast<unsigned>(scalar));
    shown += text.data();
}

/// Appends characters one by one, each in the form that its neighbours allow.
class Writer {
public:
    void add(char32_t scalar, char32_t next) {
        const Look look = lookOf(scalar);
        if (look == Look::control) {
            MCPStdio::appendUTF8(shown_, scalar == 0x7F ? U'\u2421' : U'\u2400' + scalar);
            base_ = 0;
        } else if (look == Look::plain) {
            MCPStdio::appendUTF8(shown_, scalar);
            base_ = scalar;
            marks_ = 0;
        } else if (isWelcome(look, next)) {
            MCPStdio::appendUTF8(shown_, scalar);
        } else {
            appendNumber(shown_, scalar);
            base_ = 0;
        }
        before_ = look;
    }

    [[nodiscard]] std::string finish() && { return std::move(shown_); }

private:
    /// Returns whether a character that is drawn on another one may follow `base_`.
    bool isWelcome(Look look, char32_t next) {
        if (base_ == 0) {
            return false;
        }
        switch (look) {
        case Look::mark:
            return ++marks_ <= mostMarks;
        case Look::joiner:
            return before_ != Look::joiner && base_ >= firstJoined && next >= firstJoined &&
                   lookOf(next) == Look::plain;
        case Look::selector:
            return before_ == Look::plain && (base_ > 0x7F || next == enclosingKeycap);
        default:
            return false;
        }
    }

    std::string shown_;
    /// Returns the character that a mark or a selector would apply to; 0 if there is none.
    char32_t base_ = 0;
    int marks_ = 0;
    Look before_ = Look::hidden;
};

std::string neutralised(std::string_view text) {
    Writer writer;
    while (!text.empty()) {
        const char32_t scalar = takeScalar(text);
        std::string_view rest = text;
        writer.add(scalar, rest.empty() ? 0 : takeScalar(rest));
    }
    return std::move(writer).finish();
}

std::string neutralisedName(std::string_view name) {
    std::string shown;
    while (!name.empty()) {
        const char32_t scalar = takeScalar(name);
        const bool isLetter = (scalar >= 'a' && scalar <= 'z') || (scalar >= 'A' && scalar <= 'Z');
        const bool isDigit = scalar >= '0' && scalar <= '9';
        const bool isSign = scalar == '_' || scalar == '-' || scalar == '.' || scalar == '/';
        if (isLetter || isDigit || isSign) {
            shown += static_cast<char>(scalar);
        } else {
            appendNumber(shown, scalar);
        }
    }
    return shown;
}

/// Returns the offset of the scalar value with this index.
std::size_t offsetOf(std::string_view text, std::size_t index) {
    std::string_view rest = text;
    while (index-- > 0) {
        takeScalar(rest);
    }
    return text.size() - rest.size();
}

/// Returns 12345 as 12,345.
std::string grouped(std::size_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, ",");
    }
    return digits;
}

template <typename Neutralise>
std::string shortened(std::string_view given, std::size_t most, Neutralise neutralise) {
    const std::string text = MCPStdio::repairUTF8(std::string{given});
    const std::size_t count = countScalars(text);
    if (count <= most) {
        return neutralise(text);
    }
    const std::size_t tail = most / 3;
    const std::string_view all = text;
    const std::string_view head = all.substr(0, offsetOf(all, most - tail));
    return neutralise(head) + " … (" + grouped(count - most) + " more characters) … " +
           neutralise(all.substr(offsetOf(all, count - tail)));
}

} // namespace

std::string visibleText(std::string_view text, std::size_t most) {
    return shortened(text, most, neutralised);
}

std::string visibleName(std::string_view name, std::size_t most) {
    return shortened(name, most, neutralisedName);
}

} // namespace velmiro::host
