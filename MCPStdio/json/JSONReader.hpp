#pragma once

#include "MCPStdio/json/Decimal.hpp"
#include "MCPStdio/json/JSONValue.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

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
    /// Elements of the arrays and objects that are still open, the innermost ones last. A closed
    /// one takes its own off the end, so each array and object is made once, in its final size.
    class OpenElements {
    public:
        OpenElements() = default;
        OpenElements(const OpenElements&) = delete;
        OpenElements& operator=(const OpenElements&) = delete;
        ~OpenElements() { std::destroy_n(elements_, size_); }

        [[nodiscard]] std::size_t size() const noexcept { return size_; }
        /// Makes an element where it will lie.
        template <typename Content>
        void push(Content&& content) {
            if (size_ == capacity_) {
                grow();
            }
            new (elements_ + size_) JSONValue{std::forward<Content>(content)};
            ++size_;
        }
        /// All from `first` on.
        [[nodiscard]] std::span<JSONValue> from(std::size_t first) const noexcept {
            return {elements_ + first, size_ - first};
        }
        /// Puts what was made of all from `first` on in their place. What was not moved out of
        /// them, as of a key that came again, goes.
        void replace(std::size_t first, JSONValue made) noexcept {
            std::destroy_n(elements_ + first, size_ - first);
            size_ = first;
            push(std::move(made));
        }

    private:
        static constexpr std::size_t firstCapacity = 32; // what most messages need

        void grow();

        alignas(JSONValue) std::array<std::byte, firstCapacity * sizeof(JSONValue)> near_;
        std::unique_ptr<std::byte[]> far_;
        JSONValue* elements_ = reinterpret_cast<JSONValue*>(near_.data());
        std::size_t size_ = 0;
        std::size_t capacity_ = firstCapacity;
    };

    // Each reads what begins at `at`, pushes its value, and gives back where it ends. The place is
    // handed on from one to the next: kept in the reader, it would be stored and loaded again for
    // each byte that is more than a part of a string.
    std::size_t readValue(std::size_t at, int depth);
    std::size_t readArray(std::size_t at, int depth);
    std::size_t readObject(std::size_t at, int depth);
    std::size_t readMember(std::size_t at, int depth);
    std::size_t readString(std::size_t at);
    std::size_t readNumber(std::size_t at);
    std::size_t readWord(std::size_t at, std::string_view word, JSONValue meaning);

    // Each gives back where what it read, or went over, ends.
    std::size_t unescape(std::size_t begin, std::size_t at);
    std::size_t readEscape(std::size_t at);
    std::size_t skipPlainText(std::size_t at);
    [[nodiscard]] std::size_t skipSpace(std::size_t at) const noexcept {
        // Compact texts have none.
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
    std::optional<std::size_t> wellFormed_; // how much of it is UTF-8, once that is of interest
    OpenElements open_;
    std::string unescaped_;
};

} // namespace MCPStdio
