#include "MCPStdio/text/LargeMemory.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <new>

using namespace MCPStdio;

TEST(LargeMemory, IsUsableToItsLastByteAndAlignedToALargePage) {
    for (const std::size_t needed : {largeMemoryThreshold, std::size_t{100} << 20U}) {
        const LargeMemory memory = mapLargeMemory(needed);
        EXPECT_GE(memory.size, 2 * needed);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory.begin) % (std::uintptr_t{2} << 20U), 0U);
        memory.begin[0] = 'a';
        memory.begin[needed] = 'b';
        memory.begin[memory.size - 1] = 'c';
        EXPECT_EQ(memory.begin[0], 'a');
        EXPECT_EQ(memory.begin[needed], 'b');
        unmapLargeMemory(memory);
    }
}

TEST(LargeMemory, AnUnmappedPieceIsReused) {
    const LargeMemory first = mapLargeMemory(largeMemoryThreshold);
    const LargeMemory second = mapLargeMemory(largeMemoryThreshold);
    EXPECT_NE(first.begin, second.begin);
    unmapLargeMemory(first);
    const LargeMemory third = mapLargeMemory(largeMemoryThreshold + 1);
    EXPECT_EQ(third.begin, first.begin);
    third.begin[0] = 'x';
    EXPECT_EQ(third.begin[0], 'x');
    unmapLargeMemory(third);
    unmapLargeMemory(second); // one of the two is kept
    unmapLargeMemory(mapLargeMemory(largeMemoryThreshold));
}

TEST(LargeMemory, MoreThanTheSystemHasIsBadAlloc) {
    EXPECT_THROW(mapLargeMemory(std::numeric_limits<std::size_t>::max() / 8), std::bad_alloc);
    EXPECT_THROW(mapLargeMemory(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
}
