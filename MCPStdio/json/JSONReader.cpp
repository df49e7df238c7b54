#include "MCPStdio/json/JSONReader.hpp"

#include "MCPStdio/text/ByteScan.hpp"
#include "MCPStdio/text/UTF8.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

namespace MCPStdio {
namespace {

constexpr std::size_t mostDigits = 19; // a number with as many always fits 64 bits

constexpr std::array<std::uint64_t, 9> wholePowersOfTen{
    1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};

/// What `unescape` needs after the last byte that it surely writes.
constexpr std::size_t unescapeSlack = sizeof(ByteBlock) + longestUTF8;

/// From this size on a string is read in one pass, into as much memory as the rest of the text,
/// instead of in two, of which the first tells its size: `echo of 16 MiB` takes 8 % longer in two.
constexpr std::size_t hugeString = std::size_t{256} << 10U;

/// Returns about how large a text's tree is: enough for most messages, and little of a long one.
constexpr std::size_t likelySize(std::size_t textSize) noexcept {
    constexpr std::size_t most = std::size_t{1} << 20U;
    return std::min(2 * textSize + 128, most);
}

} // namespace

JSONReader::JSONReader(std::string_view text, Encoding encoding)
    : text_{text},
      isValid_{encoding == Encoding::validUTF8},
      tree_{likelySize(text.size())} {}

JSONValue JSONReader::read() {
    const std::size_t end = skipSpace(readValue(0, 0));
    if (end != text_.size()) {
        fail(end, "unexpected text after the value");
    }
    return tree_.finish();
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
        tree_.pushBool(true);
        return skipLiteral(at, "true");
    case 'f':
        tree_.pushBool(false);
        return skipLiteral(at, "false");
    case 'n':
        tree_.pushNull();
        return skipLiteral(at, "null");
    default:
        return readNumber(at);
    }
}

std::size_t JSONReader::readArray(std::size_t at, int depth) {
    if (depth > deepest) {
        fail(at, "nested too deeply");
    }
    const std::size_t first = tree_.size();
    at = skipSpace(at + 1);
    if (byteAt(at) == ']') {
        tree_.closeArray(first);
        return at + 1;
    }
    at = skipSpace(readValue(at, depth));
    while (byteAt(at) == ',') {
        at = skipSpace(readValue(at + 1, depth));
    }
    if (byteAt(at) != ']') {
        fail(at, "expected , or ]");
    }
    tree_.closeArray(first);
    return at + 1;
}

std::size_t JSONReader::readObject(std::size_t at, int depth) {
    if (depth > deepest) {
        fail(at, "nested too deeply");
    }
    const std::size_t first = tree_.size();
    at = skipSpace(at + 1);
    if (byteAt(at) == '}') {
        tree_.closeObject(first);
        return at + 1;
    }
    at = readMember(at, depth);
    while (byteAt(at) == ',') {
        at = readMember(skipSpace(at + 1), depth);
    }
    if (byteAt(at) != '}') {
        fail(at, "expected , or }");
    }
    tree_.closeObject(first);
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
    if (text_.size() - begin < sizeof(ByteBlock)) {
        return readLongString(begin, begin);
    }
    const ByteBlock block = loadBlock(text_.data() + begin);
    const auto stops = markStringStop(block);
    const std::size_t length = bytesBeforeMark(isValid_ ? stops : stops | markNonASCII(block));
    if (length < sizeof(ByteBlock) && text_[begin + length] == '"') {
        tree_.pushShortText(block, length);
        return begin + length + 1;
    }
    return readLongString(begin, begin + length);
}

/// Reads a string that begins at `begin` and is plain up to `at`.
std::size_t JSONReader::readLongString(std::size_t begin, std::size_t at) {
    const std::size_t end = findStop(at);
    if (byteAt(end) == '\\') {
        return readEscapedString(begin, end);
    }
    requireEnd(begin, end);
    tree_.pushText(text_.substr(begin, end - begin));
    return end + 1;
}

/// Reads a string that begins at `begin` and whose first escape is at `at`.
std::size_t JSONReader::readEscapedString(std::size_t begin, std::size_t at) {
    std::size_t escapes = 0;
    std::size_t end = at;
    for (; byteAt(end) == '\\'; end = findStop(end)) {
        if (isValid_ && end - begin >= hugeString) {
            return readHugeString(begin);
        }
        end = std::min(end + 2, text_.size()); // also skips an escaped quote
        ++escapes;
    }
    requireEnd(begin, end);
    const std::size_t size = end - begin - escapes; // or less
    if (size < JSONTree::longText) {
        const std::size_t room = size + escapes + unescapeSlack;
        char* const to = tree_.roomForText(room);
        tree_.pushTextIn(to, unescape(begin, to, room).written);
        return end + 1;
    }
    std::string& text = tree_.pushLongText();
    text.reserve(size);
    return appendUnescaped(text, begin) + 1;
}

/// Reads a string that begins at `begin`, of a text that is UTF-8, in one pass.
std::size_t JSONReader::readHugeString(std::size_t begin) {
    std::string& text = tree_.pushLongText();
    text.reserve(text_.size() - begin);
    const std::size_t end = appendUnescaped(text, begin);
    requireEnd(begin, end);
    if (text.size() < text.capacity() / 2) {
        text.shrink_to_fit();
    }
    return end + 1;
}

/// Unescapes a string from `at` on, up to the first byte that it cannot hold, which it returns.
std::size_t JSONReader::appendUnescaped(std::string& text, std::size_t at) const {
    // Through a piece of the cache: `echo of 16 MiB` takes a twentieth longer, and 8 % more memory,
    // with room that has to be filled before.
    std::array<char, 4096> piece;
    while (true) {
        const auto [next, written] = unescape(at, piece.data(), piece.size());
        text.append(piece.data(), written);
        at = next;
        const auto byte = static_cast<unsigned char>(byteAt(at));
        if (byte < 0x20 || byte == '"') {
            return at;
        }
    }
}

/// Returns the index of the next quote, backslash or control character from `at` on.
std::size_t JSONReader::findStop(std::size_t at) {
    if (!isValid_) {
        at = findByte(text_, at,
                      [](ByteBlock block) { return markStringStop(block) | markNonASCII(block); });
        if (static_cast<unsigned char>(byteAt(at)) < 0x80) {
            return at;
        }
        if (!validPrefix_) { // all at once, which is faster than string by string
            validPrefix_ = findInvalidUTF8(text_);
            isValid_ = validPrefix_ == text_.size();
        }
    }
    return findByte(text_, at, markStringStop);
}

/// Throws if a string does not end with a quote at `end`, or is not UTF-8. What is wrong first in
/// the text is reported, which may be an escape.
void JSONReader::requireEnd(std::size_t begin, std::size_t end) const {
    const std::size_t valid = validPrefix_.value_or(text_.size());
    if (byteAt(end) == '"' && end <= valid) {
        return;
    }
    const std::size_t wrong = std::min(end, valid);
    for (std::size_t at = begin; at < wrong;) {
        std::array<char, longestUTF8> ignored;
        char* to = ignored.data();
        at = text_[at] == '\\' ? readEscape(at + 1, to) : at + 1;
    }
    if (valid < end) {
        fail(valid, "ill-formed UTF-8 in a string");
    }
    fail(end, end == text_.size() ? "a string without an end" : "a control character");
}

/// Unescapes a string from `at` up to the first byte that it cannot hold, or as much as surely fits
/// `room` bytes. Those beyond what it returns are overwritten too.
JSONReader::Unescaped JSONReader::unescape(std::size_t at, char* to, std::size_t room) const {
    char* const begin = to;
    // What is unescaped is never longer.
    const auto part = text_.substr(0, at + room - unescapeSlack);
    while ((at = copyUpToStop(part, at, to)) < part.size() && part[at] == '\\') {
        at = readEscape(at + 1, to);
    }
    return {at, static_cast<std::size_t>(to - begin)};
}

/// Reads the escape whose backslash precedes `at`, and writes its character.
std::size_t JSONReader::readEscape(std::size_t at, char*& to) const {
    if (at == text_.size()) {
        fail(at, "a string without an end");
    }
    static constexpr auto characters = [] {
        std::array<char, 256> table{};
        table['"'] = '"';
        table['\\'] = '\\';
        table['/'] = '/';
        table['b'] = '\b';
        table['f'] = '\f';
        table['n'] = '\n';
        table['r'] = '\r';
        table['t'] = '\t';
        return table;
    }();
    const auto escape = static_cast<unsigned char>(text_[at]);
    ++at;
    if (characters[escape] != '\0') {
        *to++ = characters[escape];
        return at;
    }
    if (escape != 'u') {
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
    to = writeUTF8(to, scalar);
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
        tree_.pushNumber(negative ? -value : value);
        return at;
    }
    const double value = readDecimal(text_.substr(begin, at - begin));
    if (std::isinf(value)) {
        fail(at, "a number too large for a double");
    }
    tree_.pushNumber(value);
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

std::size_t JSONReader::skipLiteral(std::size_t at, std::string_view literal) const {
    if (!text_.substr(at).starts_with(literal)) {
        fail(at, "expected a value");
    }
    return at + literal.size();
}

std::size_t JSONReader::skipSpaces(std::size_t at) const noexcept {
    const auto isSpace = [](char byte) {
        return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r';
    };
    while (at < text_.size() && isSpace(text_[at])) {
        ++at;
    }
    return at;
}

void JSONReader::fail(std::size_t at, const char* why) {
    throw JSONError{"not JSON at byte " + std::to_string(at) + ": " + why};
}

} // namespace MCPStdio
