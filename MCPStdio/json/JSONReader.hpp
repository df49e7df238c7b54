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

/// Reads one JSON text into a value, strictly by RFC 8259. One reader reads one text.
///
/// Rejects anything after the value except white space; nesting deeper than `deepest`; ill-formed
/// UTF-8, lone surrogates and raw control characters in strings; numbers that overflow a double;
/// and everything that is not in the grammar (comments, trailing commas, leading zeros, NaN). The
/// last of several members with the same key is kept.
class JSONReader {
public:
    static constexpr int deepest = 512;

    /// The text must outlive the reader.
    explicit JSONReader(std::string_view text);

    /// Called once. Throws JSONError, whose text names the first byte in error.
    JSONValue read();

private:
    /// A stack of the elements of all arrays and objects that are still open. Closing one takes its
    /// elements off the end, so each array and object is allocated once, at its final size.
    class OpenElements {
    public:
        OpenElements() = default;
        OpenElements(const OpenElements&) = delete;
        OpenElements& operator=(const OpenElements&) = delete;
        ~OpenElements() { std::destroy_n(elements_, size_); }

        [[nodiscard]] std::size_t size() const noexcept { return size_; }
        /// Constructs an element in place.
        template <typename Content>
        void push(Content&& content) {
            if (size_ == capacity_) {
                grow();
            }
            new (elements_ + size_) JSONValue{std::forward<Content>(content)};
            ++size_;
        }
        /// Returns all elements from `first` on.
        [[nodiscard]] std::span<JSONValue> from(std::size_t first) const noexcept {
            return {elements_ + first, size_ - first};
        }
        /// Replaces all elements from `first` on with the value that was built from them. Destroys
        /// what was not moved out of them, such as a duplicate key.
        void replace(std::size_t first, JSONValue built) noexcept {
            std::destroy_n(elements_ + first, size_ - first);
            size_ = first;
            push(std::move(built));
        }

    private:
        static constexpr std::size_t firstCapacity = 32; // enough for most messages

        void grow();

        alignas(JSONValue) std::array<std::byte, firstCapacity * sizeof(JSONValue)> inlineStorage_;
        std::unique_ptr<std::byte[]> heapStorage_;
        JSONValue* elements_ = reinterpret_cast<JSONValue*>(inlineStorage_.data());
        std::size_t size_ = 0;
        std::size_t capacity_ = firstCapacity;
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
    std::size_t readLiteral(std::size_t at, std::string_view literal, JSONValue value);

    // Each returns the index after what it read or skipped.
    std::size_t unescape(std::size_t begin, std::size_t at);
    std::size_t readEscape(std::size_t at);
    std::size_t skipPlainText(std::size_t at);
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
    OpenElements open_;
    std::string unescaped_;
};

} // namespace MCPStdio
