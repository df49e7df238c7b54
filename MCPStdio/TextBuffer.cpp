#include "MCPStdio/TextBuffer.hpp"

#include <algorithm>
#include <new>

namespace MCPStdio {
namespace {

std::size_t roundUp(std::size_t size) {
    constexpr std::size_t step = std::size_t{1} << 20U;
    return (size + step - 1) / step * step;
}

} // namespace

void TextBuffer::grow(std::size_t count) {
    constexpr std::size_t least = 256;
    const std::size_t needed = std::max(least, size_ + count);
    if (needed < largeMemory) {
        const std::size_t larger = std::max(needed, 2 * capacity_);
        auto* const moved = static_cast<char*>(std::realloc(text_.get(), larger));
        if (moved == nullptr) {
            throw std::bad_alloc{};
        }
        static_cast<void>(text_.release()); // it is `moved` now
        text_.reset(moved);
        capacity_ = larger;
        return;
    }
    // Room for much more at once, which costs nothing before it is used: so little is ever moved.
    const std::size_t larger = roundUp(needed + std::max(capacity_, largeMemory) * 8);
    Memory moved{mapLargeMemory(larger), detail::FreeText{larger}};
    std::copy_n(text_.get(), size_, moved.get());
    text_ = std::move(moved);
    capacity_ = larger;
}

} // namespace MCPStdio
