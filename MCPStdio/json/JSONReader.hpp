#pragma once

#include "MCPStdio/json/Decimal.hpp"
#include "MCPStdio/json/JSONTree.hpp"
#include "MCPStdio/json/JSONValue.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace MCPStdio {

/// Reads one JSON text into a value, strictly by RFC 8259. One reader reads one text.
///
/// Rejects anything after the value except white space; nesting deeper than `deepest`; ill-formed
/// UTF-8, lone surrogates and raw control characters in strings; numbers that overflow a double;
/// and everything that is not in the grammar (comments, trailing commas, leading zeros, NaN). The
/// last of several members with the same key is kept.
class JSONReader {
public:
    static constexpr int deepest = 512;

    enum class Encoding {
        unknown,   ///< the reader has to check that the text is UTF-8
        validUTF8, ///< somebody else has
    };

    /// The text must outlive the reader.
    explicit JSONReader(std::string_view text, Encoding encoding = Encoding::unknown);

    /// Called once. Throws JSONError, whose text names the first byte in error.
    JSONValue read();

private:
    /// Where an unescaped part of a string ends in the text, and how long it became.
    struct Unescaped {
        std::size_t next;
        std::size_t written;
    };

    // Each reads what begins at `at`, pushes its value and returns the index after it. The index is
    // passed from one to the next: as a member it would be stored and reloaded for every byte
    // outside a string.
    std::size_t readValue(std::size_t at, int depth);
    std::size_t readArray(std::size_t at, int depth);
    std::size_t readObject(std::size_t at, int depth);
    std::size_t readMember(std::size_t at, int depth);
    std::size_t readString(std::size_t at);
    std::size_t readNumber(std::size_t at);
    std::size_t readLongString(std::size_t begin, std::size_t at);
    std::size_t readEscapedString(std::size_t begin, std::size_t at);
    std::size_t readHugeString(std::size_t begin);

    [[nodiscard]] std::size_t findStop(std::size_t at);
    void requireEnd(std::size_t begin, std::size_t end) const;
    [[nodiscard]] Unescaped unescape(std::size_t at, char* to, std::size_t room) const;

    // Each returns the index after what it read or skipped.
    std::size_t appendUnescaped(std::string& text, std::size_t at) const;
    std::size_t readEscape(std::size_t at, char*& to) const;
    [[nodiscard]] std::size_t skipLiteral(std::size_t at, std::string_view literal) const;
    [[nodiscard]] std::size_t skipSpace(std::size_t at) const noexcept {
        // Compact texts contain none.
        return static_cast<unsigned char>(byteAt(at)) <= ' ' ? skipSpaces(at) : at;
    }
    [[nodiscard]] std::size_t skipSpaces(std::size_t at) const noexcept;

    [[nodiscard]] unsigned fourHexDigits(std::size_t at) const;
    [[nodiscard]] Digits readDigits(std::size_t at, std::uint64_t number,
                                    const char* whyNone) const;
    [[nodiscard]] char byteAt(std::size_t at) const noexcept {
        return at < text_.size() ? text_[at] : '\0';
    }
    [[noreturn]] static void fail(std::size_t at, const char* why);

    std::string_view text_;
    std::optional<std::size_t> validPrefix_; ///< length of its valid UTF-8, once known
    bool isValid_;                           ///< the whole text is known to be UTF-8
    JSONTree tree_;
};

} // namespace MCPStdio
