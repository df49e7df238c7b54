#include "MCPStdio/LargeMemory.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <new>

using namespace MCPStdio;

TEST(LargeMemory, IsZeroToItsLastByteAndLiesAtALargePage) {
    const std::size_t size = 3 * largeMemory + 4096;
    char* const memory = mapLargeMemory(size);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % (std::uintptr_t{2} << 20U), 0U);
    for (std::size_t at = 0; at < size; at += 4096) {
        ASSERT_EQ(memory[at], '\0');
        memory[at] = 'x';
    }
    memory[size - 1] = 'x';
    unmapLargeMemory(memory, size);
}

TEST(LargeMemory, MoreThanThereIsIsBadAlloc) {
    EXPECT_THROW(mapLargeMemory(std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
}
