#pragma once

#include <cstddef>

/// Memory for texts of megabytes, straight from the system. To be given page after page of 4 KB
/// takes several times as long as filling them. So where the system can it comes in large pages,
/// and one piece that was given back stays at hand: the line of a large request becomes its reply.
/// The system may take that one's pages whenever it is in need of them.
namespace MCPStdio {

/// From this size on it is worth it.
inline constexpr std::size_t largeMemory = std::size_t{4} << 20U;

struct LargeMemory {
    char* begin = nullptr;
    std::size_t size = 0;
};

/// At least twice what is needed: memory that is not touched costs address space only. From any
/// thread. Throws std::bad_alloc.
LargeMemory mapLargeMemory(std::size_t needed);
void unmapLargeMemory(LargeMemory memory) noexcept;

} // namespace MCPStdio
