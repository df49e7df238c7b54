#include "MCPStdio/text/TextBuffer.hpp"

#include <algorithm>
#include <new>

namespace MCPStdio {
void TextBuffer::grow(std::size_t count) {
    constexpr std::size_t least = 256;
    const std::size_t needed = std::max(least, size_ + count);
    if (needed < largeMemoryThreshold) {
        const std::size_t larger = std::max(needed, 2 * capacity_);
        auto* const moved = static_cast<char*>(std::realloc(text_.get(), larger));
        if (moved == nullptr) {
            throw std::bad_alloc{};
        }
        static_cast<void>(text_.release()); // realloc took it over
        text_.reset(moved);
        capacity_ = larger;
        return;
    }
    const LargeMemory larger = mapLargeMemory(needed);
    Memory moved{larger.begin, detail::FreeText{larger.size}};
    std::copy_n(text_.get(), size_, moved.get());
    text_ = std::move(moved);
    capacity_ = larger.size;
}

} // namespace MCPStdio
