#include "MCPStdio/json/JSONReader.hpp"

#include "MCPStdio/text/ByteScan.hpp"
#include "MCPStdio/text/UTF8.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace MCPStdio {
namespace {

constexpr std::size_t mostDigits = 19; // a number with as many always fits 64 bits

constexpr std::array<std::uint64_t, 9> wholePowersOfTen{
    1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};

} // namespace

void JSONReader::OpenElements::grow() {
    std::unique_ptr<std::byte[]> larger{new std::byte[2 * capacity_ * sizeof(JSONValue)]};
    auto* moved = reinterpret_cast<JSONValue*>(larger.get());
    std::uninitialized_move_n(elements_, size_, moved);
    heapStorage_ = std::move(larger);
    elements_ = moved;
    capacity_ *= 2;
}

JSONReader::JSONReader(std::string_view text) : text_{text} {}

JSONValue JSONReader::read() {
    const std::size_t end = skipSpace(readValue(0, 0));
    if (end != text_.size()) {
        fail(end, "unexpected text after the value");
    }
    return std::move(open_.from(0).front());
}

std::size_t JSONReader::readValue(std::size_t at, int depth) {
    at = skipSpace(at);
    switch (byteAt(at)) {
    case '{':
        return readObject(at, depth + 1);
    case '[':
        return readArray(at, depth + 1);
    case '"':
        return readString(at);
    case 't':
        return readLiteral(at, "true", true);
    case 'f':
        return readLiteral(at, "false", false);
    case 'n':
        return readLiteral(at, "null", nullptr);
    default:
        return readNumber(at);
    }
}

std::size_t JSONReader::readArray(std::size_t at, int depth) {
    if (depth > deepest) {
        fail(at, "nested too deeply");
    }
    const std::size_t first = open_.size();
    at = skipSpace(at + 1);
    if (byteAt(at) == ']') {
        open_.push(JSONValue::array());
        return at + 1;
    }
    at = skipSpace(readValue(at, depth));
    while (byteAt(at) == ',') {
        at = skipSpace(readValue(at + 1, depth));
    }
    if (byteAt(at) != ']') {
        fail(at, "expected , or ]");
    }
    open_.replace(first, JSONValue::arrayOf(open_.from(first)));
    return at + 1;
}

std::size_t JSONReader::readObject(std::size_t at, int depth) {
    if (depth > deepest) {
        fail(at, "nested too deeply");
    }
    const std::size_t first = open_.size();
    at = skipSpace(at + 1);
    if (byteAt(at) == '}') {
        open_.push(JSONValue::object());
        return at + 1;
    }
    at = readMember(at, depth);
    while (byteAt(at) == ',') {
        at = readMember(skipSpace(at + 1), depth);
    }
    if (byteAt(at) != '}') {
        fail(at, "expected , or }");
    }
    open_.replace(first, JSONValue::objectOf(open_.from(first)));
    return at + 1;
}

/// Reads a key, a colon and a value, and skips the white space after them.
std::size_t JSONReader::readMember(std::size_t at, int depth) {
    if (byteAt(at) != '"') {
        fail(at, "expected a key");
    }
    at = skipSpace(readString(at));
    if (byteAt(at) != ':') {
        fail(at, "expected :");
    }
    return skipSpace(readValue(at + 1, depth));
}

std::size_t JSONReader::readString(std::size_t at) {
    const std::size_t begin = at + 1; // after the quote
    at = findByte(text_, begin,
                  [](auto bytes) { return markStringStop(bytes) | markNonASCII(bytes); });
    if (byteAt(at) != '"') {
        at = skipPlainText(at);
        if (byteAt(at) != '"') {
            at = unescape(begin, at);
            open_.push(std::move(unescaped_)); // a short text is copied and leaves its buffer here
            return at;
        }
    }
    open_.push(text_.substr(begin, at - begin));
    return at + 1;
}

/// Skips to the next quote, escape or control character. Throws if the text before it is not UTF-8:
/// the first call validates the whole text, which is faster than string by string.
std::size_t JSONReader::skipPlainText(std::size_t at) {
    at = findByte(text_, at, markStringStop);
    if (!validPrefix_) {
        validPrefix_ = findInvalidUTF8(text_);
    }
    if (at > *validPrefix_) {
        fail(at, "ill-formed UTF-8 in a string");
    }
    return at;
}

/// Unescapes a string that begins at `begin` and is plain up to `at`.
std::size_t JSONReader::unescape(std::size_t begin, std::size_t at) {
    unescaped_.assign(text_.substr(begin, at - begin));
    while (true) {
        const std::size_t from = at;
        at = skipPlainText(at);
        unescaped_.append(text_.substr(from, at - from));
        if (byteAt(at) == '"') {
            return at + 1;
        }
        if (byteAt(at) != '\\') {
            fail(at, at == text_.size() ? "a string without an end" : "a control character");
        }
        at = readEscape(at + 1);
    }
}

/// Reads the escape whose backslash precedes `at`.
std::size_t JSONReader::readEscape(std::size_t at) {
    if (at == text_.size()) {
        fail(at, "a string without an end");
    }
    const char escape = text_[at];
    ++at;
    switch (escape) {
    case '"':
    case '\\':
    case '/':
        unescaped_.push_back(escape);
        return at;
    case 'b':
        unescaped_.push_back('\b');
        return at;
    case 'f':
        unescaped_.push_back('\f');
        return at;
    case 'n':
        unescaped_.push_back('\n');
        return at;
    case 'r':
        unescaped_.push_back('\r');
        return at;
    case 't':
        unescaped_.push_back('\t');
        return at;
    case 'u':
        break;
    default:
        fail(at, "an unknown escape");
    }
    char32_t scalar = fourHexDigits(at);
    at += 4;
    if (scalar >= 0xD800 && scalar < 0xDC00) {
        const bool paired = byteAt(at) == '\\' && byteAt(at + 1) == 'u';
        const char32_t low = paired ? fourHexDigits(at + 2) : 0;
        if (low < 0xDC00 || low > 0xDFFF) {
            fail(at, "a lone surrogate");
        }
        scalar = 0x10000 + ((scalar - 0xD800) << 10U) + (low - 0xDC00);
        at += 6;
    } else if (scalar >= 0xDC00 && scalar < 0xE000) {
        fail(at, "a lone surrogate");
    }
    appendUTF8(unescaped_, scalar);
    return at;
}

unsigned JSONReader::fourHexDigits(std::size_t at) const {
    unsigned value = 0;
    for (const std::size_t end = at + 4; at < end; ++at) {
        const char digit = byteAt(at);
        unsigned nibble = 0;
        if (digit >= '0' && digit <= '9') {
            nibble = static_cast<unsigned>(digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            nibble = static_cast<unsigned>(digit - 'a') + 10;
        } else if (digit >= 'A' && digit <= 'F') {
            nibble = static_cast<unsigned>(digit - 'A') + 10;
        } else {
            fail(at, "expected four hexadecimal digits");
        }
        value = value << 4U | nibble;
    }
    return value;
}

std::size_t JSONReader::readNumber(std::size_t at) {
    const std::size_t begin = at;
    const bool negative = byteAt(at) == '-';
    at += negative ? 1 : 0;
    Digits digits{1, 0};
    if (byteAt(at) != '0') {
        digits = readDigits(at, 0, "expected a value");
    }
    at += digits.count;
    std::int64_t power = 0;
    if (byteAt(at) == '.') {
        const Digits decimals = readDigits(at + 1, digits.number, "expected a value");
        at += 1 + decimals.count;
        power = -static_cast<std::int64_t>(decimals.count);
        digits = {digits.count + decimals.count, decimals.number};
    }
    if (byteAt(at) == 'e' || byteAt(at) == 'E') {
        ++at;
        const bool isNegativeExponent = byteAt(at) == '-';
        at += isNegativeExponent || byteAt(at) == '+' ? 1 : 0;
        const Digits exponent = readDigits(at, 0, "expected the digits of an exponent");
        at += exponent.count;
        // Stands for every larger exponent as well: no double has one this large.
        constexpr std::uint64_t beyond = 100'000;
        const auto size = static_cast<std::int64_t>(
            exponent.count > mostDigits ? beyond : std::min(exponent.number, beyond));
        power += isNegativeExponent ? -size : size;
    }
    if (digits.count <= mostDigits && std::abs(power) <= largestFastPower) {
        // Nearly all numbers in messages are whole.
        const double value = power == 0 ? static_cast<double>(digits.number)
                                        : nearestDouble(digits.number, static_cast<int>(power));
        open_.push(negative ? -value : value);
        return at;
    }
    const double value = readDecimal(text_.substr(begin, at - begin));
    if (std::isinf(value)) {
        fail(at, "a number too large for a double");
    }
    open_.push(value);
    return at;
}

/// Appends the digits at `at`, at least one, to a number, which wraps around if there are too many.
/// Fails with `whyNone` if there is none.
Digits JSONReader::readDigits(std::size_t at, std::uint64_t number, const char* whyNone) const {
    const std::size_t begin = at;
    Digits next{};
    do {
        const char* const from = text_.data() + at;
        const std::size_t rest = text_.size() - at;
        next = leadingDigits(rest < sizeof(ByteWord) ? loadShort(from, rest) : loadWord(from));
        number = number * wholePowersOfTen[next.count] + next.number;
        at += next.count;
    } while (next.count == sizeof(ByteWord));
    if (at == begin) {
        fail(at, whyNone);
    }
    return {at - begin, number};
}

std::size_t JSONReader::readLiteral(std::size_t at, std::string_view literal, JSONValue value) {
    if (!text_.substr(at).starts_with(literal)) {
        fail(at, "expected a value");
    }
    open_.push(std::move(value));
    return at + literal.size();
}

std::size_t JSONReader::skipSpaces(std::size_t at) const noexcept {
    const auto isSpace = [](char byte) {
        return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r';
    };
    while (at < text_.size() && isSpace(text_[at])) {
        ++at;
        // Indented texts have many spaces in a row.
        while (text_.size() - at >= sizeof(ByteWord) &&
               loadWord(text_.data() + at) == allBytes(' ')) {
            at += sizeof(ByteWord);
        }
    }
    return at;
}

void JSONReader::fail(std::size_t at, const char* why) {
    throw JSONError{"not JSON at byte " + std::to_string(at) + ": " + why};
}

} // namespace MCPStdio
