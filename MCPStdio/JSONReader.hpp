#pragma once

#include "MCPStdio/Decimal.hpp"
#include "MCPStdio/JSONValue.hpp"

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

    // Each reads one value and pushes it.
    void readValue(int depth);
    void readArray(int depth);
    void readObject(int depth);
    void readString();
    void readNumber();
    void readWord(std::string_view word, JSONValue meaning);

    void unescape(std::size_t begin);
    void readEscape();
    unsigned readFourHexDigits();
    void skipPlainText();
    Digits readDigits(std::uint64_t number, const char* whyNone);
    int readExponent();
    void skipSpace() noexcept {
        if (static_cast<unsigned char>(peek()) <= ' ') { // compact texts have none
            skipSpaces();
        }
    }
    void skipSpaces() noexcept;
    bool accept(char wanted) noexcept;
    [[nodiscard]] char peek() const noexcept { return at_ < text_.size() ? text_[at_] : '\0'; }
    [[noreturn]] void fail(const char* why) const;

    std::string_view text_;
    std::optional<std::size_t> wellFormed_; // how much of it is UTF-8, once that is of interest
    std::size_t at_ = 0;
    OpenElements open_;
    std::string unescaped_;
};

} // namespace MCPStdio
