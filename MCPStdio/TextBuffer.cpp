#include "MCPStdio/TextBuffer.hpp"

#include <algorithm>
#include <new>

namespace MCPStdio {

void TextBuffer::grow(std::size_t count) {
    constexpr std::size_t least = 256;
    const std::size_t larger = std::max({least, 2 * capacity_, size_ + count});
    auto* const moved = static_cast<char*>(std::realloc(text_.get(), larger));
    if (moved == nullptr) {
        throw std::bad_alloc{};
    }
    static_cast<void>(text_.release()); // it is `moved` now
    text_.reset(moved);
    capacity_ = larger;
}

} // namespace MCPStdio
