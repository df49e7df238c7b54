#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace MCPStdio {

/// Where the first byte of `text` from `from` on lies for which `isStop` holds; `text.size()` when
/// there is none. The test runs over whole blocks without a branch in between, which compilers turn
/// into vector instructions; only the block that has a stop is looked at byte by byte.
template <typename IsStop>
std::size_t findByte(std::string_view text, std::size_t from, IsStop isStop) noexcept {
    constexpr std::size_t blockSize = 32;
    std::size_t at = from;
    // Short texts are the rule: the first bytes are not worth a block.
    for (const std::size_t soon = std::min(text.size(), from + 8); at < soon; ++at) {
        if (isStop(static_cast<unsigned char>(text[at]))) {
            return at;
        }
    }
    while (text.size() - at >= blockSize) {
        unsigned char any = 0;
        const char* block = text.data() + at;
        for (std::size_t i = 0; i < blockSize; ++i) {
            any = static_cast<unsigned char>(
                any | static_cast<unsigned char>(isStop(static_cast<unsigned char>(block[i]))));
        }
        if (any != 0) {
            break;
        }
        at += blockSize;
    }
    while (at < text.size() && !isStop(static_cast<unsigned char>(text[at]))) {
        ++at;
    }
    return at;
}

} // namespace MCPStdio
