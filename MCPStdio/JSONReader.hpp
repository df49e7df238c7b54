#pragma once

#include "MCPStdio/JSONValue.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace MCPStdio {

/// Reads one JSON text, strictly by RFC 8259, into a value; one reader for one text.
///
/// Refused are: anything after the value but white space; nesting deeper than `deepest`; ill-formed
/// UTF-8, lone surrogates and raw control characters in strings; numbers that overflow a double;
/// and all that the grammar does not know (comments, trailing commas, leading zeros, NaN). Of
/// members with the same key the last one stays.
class JSONReader {
public:
    static constexpr int deepest = 512;

    /// The text must outlive the reader.
    explicit JSONReader(std::string_view text);

    /// Throws JSONError, which names the byte at which the text went wrong.
    JSONValue read();

private:
    JSONValue readValue(int depth);
    JSONValue readArray(int depth);
    JSONValue readObject(int depth);
    JSONValue readString();
    JSONValue readNumber();
    JSONValue readWord(std::string_view word, JSONValue meaning);

    std::string_view unescape(std::size_t begin);
    void readEscape();
    unsigned readFourHexDigits();
    void requireDigits();
    void skipSpace() noexcept;
    bool accept(char wanted) noexcept;
    [[nodiscard]] char peek() const noexcept { return at_ < text_.size() ? text_[at_] : '\0'; }
    [[noreturn]] void fail(const char* why) const;

    std::string_view text_;
    std::size_t at_ = 0;
    /// Elements of the arrays and objects that are still open, the innermost ones last. A closed
    /// one takes its own off the end, so each array and object is made once, in its final size.
    std::vector<JSONValue> open_;
    std::string unescaped_;
};

} // namespace MCPStdio
