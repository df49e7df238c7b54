#include "MCPStdio/JSONReader.hpp"

#include "MCPStdio/ByteScan.hpp"
#include "MCPStdio/Decimal.hpp"
#include "MCPStdio/UTF8.hpp"

#include <span>

namespace MCPStdio {
namespace {

constexpr bool isDigit(char character) noexcept {
    return character >= '0' && character <= '9';
}

} // namespace

JSONReader::JSONReader(std::string_view text) : text_{text} {}

JSONValue JSONReader::read() {
    JSONValue value = readValue(0);
    skipSpace();
    if (at_ != text_.size()) {
        fail("unexpected text after the value");
    }
    return value;
}

JSONValue JSONReader::readValue(int depth) {
    skipSpace();
    switch (peek()) {
    case '{':
        return readObject(depth + 1);
    case '[':
        return readArray(depth + 1);
    case '"':
        return readString();
    case 't':
        return readWord("true", true);
    case 'f':
        return readWord("false", false);
    case 'n':
        return readWord("null", nullptr);
    default:
        return readNumber();
    }
}

JSONValue JSONReader::readArray(int depth) {
    if (depth > deepest) {
        fail("nested too deeply");
    }
    ++at_; // the bracket
    const std::size_t first = open_.size();
    skipSpace();
    if (accept(']')) {
        return JSONValue::array();
    }
    do {
        open_.push_back(readValue(depth));
        skipSpace();
    } while (accept(','));
    if (!accept(']')) {
        fail("expected , or ]");
    }
    JSONValue made = JSONValue::arrayOf(std::span{open_}.subspan(first));
    open_.resize(first);
    return made;
}

JSONValue JSONReader::readObject(int depth) {
    if (depth > deepest) {
        fail("nested too deeply");
    }
    ++at_; // the brace
    const std::size_t first = open_.size();
    skipSpace();
    if (accept('}')) {
        return JSONValue::object();
    }
    do {
        skipSpace();
        if (peek() != '"') {
            fail("expected a key");
        }
        open_.push_back(readString());
        skipSpace();
        if (!accept(':')) {
            fail("expected :");
        }
        open_.push_back(readValue(depth));
        skipSpace();
    } while (accept(','));
    if (!accept('}')) {
        fail("expected , or }");
    }
    JSONValue made = JSONValue::objectOf(std::span{open_}.subspan(first));
    open_.resize(first);
    return made;
}

JSONValue JSONReader::readString() {
    ++at_; // the opening quote
    const std::size_t begin = at_;
    const auto isPlain = [](unsigned char byte) {
        return byte >= 0x20 && byte != '"' && byte != '\\' && byte < 0x80;
    };
    at_ = findByte(text_, at_, [&](unsigned char byte) { return !isPlain(byte); });
    if (peek() == '"' && at_ < text_.size()) {
        JSONValue plain{text_.substr(begin, at_ - begin)};
        ++at_;
        return plain;
    }
    const bool wellFormed = [&] {
        at_ = findByte(text_, at_, [](unsigned char byte) {
            return byte < 0x20 || byte == '"' || byte == '\\';
        });
        return isValidUTF8(text_.substr(begin, at_ - begin));
    }();
    if (!wellFormed) {
        fail("ill-formed UTF-8 in a string");
    }
    if (at_ < text_.size() && text_[at_] == '"') {
        JSONValue whole{text_.substr(begin, at_ - begin)};
        ++at_;
        return whole;
    }
    return JSONValue{unescape(begin)};
}

/// The rest of a string from its first escape on; what lies before it begins at `begin`.
std::string_view JSONReader::unescape(std::size_t begin) {
    unescaped_.assign(text_.substr(begin, at_ - begin));
    while (true) {
        const std::size_t from = at_;
        at_ = findByte(text_, at_, [](unsigned char byte) {
            return byte < 0x20 || byte == '"' || byte == '\\';
        });
        const auto run = text_.substr(from, at_ - from);
        if (!isValidUTF8(run)) {
            fail("ill-formed UTF-8 in a string");
        }
        unescaped_.append(run);
        if (accept('"')) {
            return unescaped_;
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

JSONValue JSONReader::readNumber() {
    const std::size_t begin = at_;
    accept('-');
    if (peek() == '0') {
        ++at_;
    } else {
        requireDigits();
    }
    if (accept('.')) {
        requireDigits();
    }
    if (accept('e') || accept('E')) {
        if (!accept('+')) {
            accept('-');
        }
        requireDigits();
    }
    const auto number = readDecimal(text_.substr(begin, at_ - begin));
    if (!number) {
        fail("a number too large for a double");
    }
    return *number;
}

void JSONReader::requireDigits() {
    if (!isDigit(peek())) {
        fail("expected a value");
    }
    while (isDigit(peek())) {
        ++at_;
    }
}

JSONValue JSONReader::readWord(std::string_view word, JSONValue meaning) {
    if (!text_.substr(at_).starts_with(word)) {
        fail("expected a value");
    }
    at_ += word.size();
    return meaning;
}

void JSONReader::skipSpace() noexcept {
    while (at_ < text_.size() &&
           (text_[at_] == ' ' || text_[at_] == '\n' || text_[at_] == '\t' || text_[at_] == '\r')) {
        ++at_;
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
