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
    std::size_t mapped = 0; ///< the size of large memory; zero for memory of the heap

    void operator()(char* text) const noexcept {
        if (mapped > 0) {
            unmapLargeMemory({text, mapped});
        } else {
            std::free(text);
        }
    }
};

} // namespace detail

/// Text that grows at its end, whatever its length: new room is not filled before it is written,
/// and a large text is hardly ever moved.
class TextBuffer {
public:
    TextBuffer() = default;
    explicit TextBuffer(std::string_view text) { append(text); }

    [[nodiscard]] std::string_view view() const noexcept { return {text_.get(), size_}; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] std::size_t capacity() const noexcept { return capacity_; }
    /// Keeps the room.
    void clear() noexcept { size_ = 0; }
    void removePrefix(std::size_t count) noexcept {
        size_ -= count;
        if (size_ > 0) { // else there may be no memory at all
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

    /// Where the next `count` bytes may be written. They count as text once `added` says so.
    [[nodiscard]] char* room(std::size_t count) {
        if (capacity_ - size_ < count) {
            grow(count);
        }
        return text_.get() + size_;
    }
    void added(std::size_t count) noexcept { size_ += count; }

private:
    using Memory = std::unique_ptr<char[], detail::FreeText>;

    void grow(std::size_t count);

    Memory text_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace MCPStdio
