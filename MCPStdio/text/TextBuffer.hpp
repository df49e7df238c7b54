#pragma once

#include "MCPStdio/text/LargeMemory.hpp"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace MCPStdio {

namespace detail {

struct FreeText {
    std::size_t mapped = 0; ///< the size of large memory; zero if it is from the heap

    void operator()(char* text) const noexcept {
        if (mapped > 0) {
            unmapLargeMemory({text, mapped});
        } else {
            std::free(text);
        }
    }
};

} // namespace detail

/// A text that grows at its end, of any length. Unlike a string's, its new room is not filled
/// before it is written, and a large text is hardly ever moved.
///
/// Move-only; a moved-from buffer may only be assigned to or destroyed. Growing may
/// throw std::bad_alloc, which leaves the text unchanged. Views are valid until the text changes.
class TextBuffer {
public:
    TextBuffer() = default;
    explicit TextBuffer(std::string_view text) { append(text); }

    [[nodiscard]] std::string_view view() const noexcept { return {text_.get(), size_}; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] std::size_t capacity() const noexcept { return capacity_; }
    /// Removes the text and keeps the capacity.
    void clear() noexcept { size_ = 0; }
    /// Removes the first `count` bytes, at most `size()`, and moves the rest to the front.
    void removePrefix(std::size_t count) noexcept {
        size_ -= count;
        if (size_ > 0) { // an empty buffer may have no memory
            std::memmove(text_.get(), text_.get() + count, size_);
        }
    }

    void append(char character) {
        *room(1) = character;
        added(1);
    }
    void append(std::string_view part) {
        if (!part.empty()) {
            std::memcpy(room(part.size()), part.data(), part.size());
            added(part.size());
        }
    }
    void append(std::size_t count, char character) {
        if (count > 0) {
            std::memset(room(count), character, count);
            added(count);
        }
    }

    /// Returns room for `count` more bytes at the end. They become part of the text when `added` is
    /// called.
    [[nodiscard]] char* room(std::size_t count) {
        if (capacity_ - size_ < count) {
            grow(count);
        }
        return text_.get() + size_;
    }
    /// Adds bytes that were written into the room returned last; at most as many as were asked for.
    void added(std::size_t count) noexcept { size_ += count; }

private:
    using Memory = std::unique_ptr<char[], detail::FreeText>;

    void grow(std::size_t count);

    Memory text_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace MCPStdio
