#include "MCPStdio/JSONReader.hpp"

#include "MCPStdio/ByteScan.hpp"
#include "MCPStdio/UTF8.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace MCPStdio {
namespace {

constexpr bool isDigit(char character) noexcept {
    return character >= '0' && character <= '9';
}

constexpr std::size_t mostDigits = 19; // that surely fit 64 bits

constexpr std::array<std::uint64_t, 9> powersOfTen{
    1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};

} // namespace

void JSONReader::OpenElements::grow() {
    std::unique_ptr<std::byte[]> larger{new std::byte[2 * capacity_ * sizeof(JSONValue)]};
    auto* moved = reinterpret_cast<JSONValue*>(larger.get());
    std::uninitialized_move_n(elements_, size_, moved);
    far_ = std::move(larger);
    elements_ = moved;
    capacity_ *= 2;
}

JSONReader::JSONReader(std::string_view text) : text_{text} {}

JSONValue JSONReader::read() {
    readValue(0);
    skipSpace();
    if (at_ != text_.size()) {
        fail("unexpected text after the value");
    }
    return std::move(open_.from(0).front());
}

void JSONReader::readValue(int depth) {
    skipSpace();
    switch (peek()) {
    case '{':
        readObject(depth + 1);
        break;
    case '[':
        readArray(depth + 1);
        break;
    case '"':
        readString();
        break;
    case 't':
        readWord("true", true);
        break;
    case 'f':
        readWord("false", false);
        break;
    case 'n':
        readWord("null", nullptr);
        break;
    default:
        readNumber();
        break;
    }
}

void JSONReader::readArray(int depth) {
    if (depth > deepest) {
        fail("nested too deeply");
    }
    ++at_; // the bracket
    const std::size_t first = open_.size();
    skipSpace();
    if (accept(']')) {
        open_.push(JSONValue::array());
        return;
    }
    do {
        readValue(depth);
        skipSpace();
    } while (accept(','));
    if (!accept(']')) {
        fail("expected , or ]");
    }
    open_.replace(first, JSONValue::arrayOf(open_.from(first)));
}

void JSONReader::readObject(int depth) {
    if (depth > deepest) {
        fail("nested too deeply");
    }
    ++at_; // the brace
    const std::size_t first = open_.size();
    skipSpace();
    if (accept('}')) {
        open_.push(JSONValue::object());
        return;
    }
    do {
        skipSpace();
        if (peek() != '"') {
            fail("expected a key");
        }
        readString();
        skipSpace();
        if (!accept(':')) {
            fail("expected :");
        }
        readValue(depth);
        skipSpace();
    } while (accept(','));
    if (!accept('}')) {
        fail("expected , or }");
    }
    open_.replace(first, JSONValue::objectOf(open_.from(first)));
}

void JSONReader::readString() {
    ++at_; // the opening quote
    const std::size_t begin = at_;
    at_ = findByte(text_, at_,
                   [](auto bytes) { return markStringStop(bytes) | markNonASCII(bytes); });
    if (peek() != '"') {
        skipPlainText();
        if (peek() != '"') {
            unescape(begin);
            open_.push(std::move(unescaped_)); // a short text leaves its memory here
            return;
        }
    }
    open_.push(text_.substr(begin, at_ - begin));
    ++at_;
}

/// Goes on to the next quote, escape or control character. What lies before it is UTF-8: all of the
/// text is looked at when the first string is not ASCII, which is faster than each string.
void JSONReader::skipPlainText() {
    at_ = findByte(text_, at_, markStringStop);
    if (!wellFormed_) {
        wellFormed_ = findInvalidUTF8(text_);
    }
    if (at_ > *wellFormed_) {
        fail("ill-formed UTF-8 in a string");
    }
}

/// Goes on to the end of a string with escapes and unescapes it; what lies before the first begins
/// at `begin`.
void JSONReader::unescape(std::size_t begin) {
    unescaped_.assign(text_.substr(begin, at_ - begin));
    while (true) {
        const std::size_t from = at_;
        skipPlainText();
        unescaped_.append(text_.substr(from, at_ - from));
        if (accept('"')) {
            return;
        }
        if (!accept('\\')) {
            fail(at_ == text_.size() ? "a string without an end" : "a control character");
        }
        readEscape();
    }
}

void JSONReader::readEscape() {
    if (at_ == text_.size()) {
        fail("a string without an end");
    }
    const char escape = text_[at_++];
    switch (escape) {
    case '"':
    case '\\':
    case '/':
        unescaped_.push_back(escape);
        return;
    case 'b':
        unescaped_.push_back('\b');
        return;
    case 'f':
        unescaped_.push_back('\f');
        return;
    case 'n':
        unescaped_.push_back('\n');
        return;
    case 'r':
        unescaped_.push_back('\r');
        return;
    case 't':
        unescaped_.push_back('\t');
        return;
    case 'u':
        break;
    default:
        fail("an unknown escape");
    }
    char32_t scalar = readFourHexDigits();
    if (scalar >= 0xD800 && scalar < 0xDC00) {
        const bool paired = accept('\\') && accept('u');
        const char32_t low = paired ? readFourHexDigits() : 0;
        if (low < 0xDC00 || low > 0xDFFF) {
            fail("a lone surrogate");
        }
        scalar = 0x10000 + ((scalar - 0xD800) << 10U) + (low - 0xDC00);
    } else if (scalar >= 0xDC00 && scalar < 0xE000) {
        fail("a lone surrogate");
    }
    appendUTF8(unescaped_, scalar);
}

unsigned JSONReader::readFourHexDigits() {
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
        const char digit = peek();
        unsigned nibble = 0;
        if (isDigit(digit)) {
            nibble = static_cast<unsigned>(digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            nibble = static_cast<unsigned>(digit - 'a') + 10;
        } else if (digit >= 'A' && digit <= 'F') {
            nibble = static_cast<unsigned>(digit - 'A') + 10;
        } else {
            fail("expected four hexadecimal digits");
        }
        value = value << 4U | nibble;
        ++at_;
    }
    return value;
}

void JSONReader::readNumber() {
    const std::size_t begin = at_;
    const bool negative = accept('-');
    Digits digits{1, 0};
    if (!accept('0')) {
        digits = readDigits(0, "expected a value");
    }
    std::int64_t power = 0;
    if (accept('.')) {
        const Digits all = readDigits(digits.number, "expected a value");
        power = -static_cast<std::int64_t>(all.count);
        digits = {digits.count + all.count, all.number};
    }
    if (accept('e') || accept('E')) {
        power += readExponent();
    }
    if (digits.count <= mostDigits && std::abs(power) <= largestEverydayPower) {
        // Whole numbers are nearly all there are in messages.
        const double value = power == 0 ? static_cast<double>(digits.number)
                                        : nearestDouble(digits.number, static_cast<int>(power));
        open_.push(negative ? -value : value);
        return;
    }
    const double value = readDecimal(text_.substr(begin, at_ - begin));
    if (std::isinf(value)) {
        fail("a number too large for a double");
    }
    open_.push(value);
}

/// The digits that come, at least one, appended to a number, which overflows where there are too
/// many for it.
Digits JSONReader::readDigits(std::uint64_t number, const char* whyNone) {
    const std::size_t begin = at_;
    Digits next{};
    do {
        const char* const from = text_.data() + at_;
        const std::size_t rest = text_.size() - at_;
        next = leadingDigits(rest < sizeof(ByteWord) ? loadShort(from, rest) : loadWord(from));
        number = number * powersOfTen[next.count] + next.number;
        at_ += next.count;
    } while (next.count == sizeof(ByteWord));
    if (at_ == begin) {
        fail(whyNone);
    }
    return {at_ - begin, number};
}

/// The exponent behind its letter; where no double has one as large, anything as large.
int JSONReader::readExponent() {
    constexpr std::uint64_t beyond = 100'000;
    const bool negative = accept('-');
    if (!negative) {
        accept('+');
    }
    const auto [count, exponent] = readDigits(0, "expected the digits of an exponent");
    const int size = static_cast<int>(count > mostDigits ? beyond : std::min(exponent, beyond));
    return negative ? -size : size;
}

void JSONReader::readWord(std::string_view word, JSONValue meaning) {
    if (!text_.substr(at_).starts_with(word)) {
        fail("expected a value");
    }
    at_ += word.size();
    open_.push(std::move(meaning));
}

void JSONReader::skipSpaces() noexcept {
    const auto isSpace = [](char byte) {
        return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r';
    };
    while (at_ < text_.size() && isSpace(text_[at_])) {
        ++at_;
        // Indented texts have many in a row.
        while (text_.size() - at_ >= sizeof(ByteWord) &&
               loadWord(text_.data() + at_) == allBytes(' ')) {
            at_ += sizeof(ByteWord);
        }
    }
}

bool JSONReader::accept(char wanted) noexcept {
    if (at_ < text_.size() && text_[at_] == wanted) {
        ++at_;
        return true;
    }
    return false;
}

void JSONReader::fail(const char* why) const {
    throw JSONError{"not JSON at byte " + std::to_string(at_) + ": " + why};
}

} // namespace MCPStdio
