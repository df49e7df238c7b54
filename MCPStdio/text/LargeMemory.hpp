#pragma once

#include <cstddef>

/// Memory for texts of megabytes, mapped directly from the system.
///
/// Faulting in 4 KB pages costs several times more than filling them. So large pages are used where
/// the system has them, and one unmapped piece is kept as a spare: the memory of a large request's
/// line then holds its reply. The system may reclaim the spare's pages whenever it needs them.
/// `echo of 16 MiB` takes 6 % longer with memory from the heap.
namespace MCPStdio {

/// The size in bytes from which it pays off.
inline constexpr std::size_t largeMemoryThreshold = std::size_t{4} << 20U;

/// One mapped piece, or none. Does not own it: it stays mapped until `unmapLargeMemory`.
struct LargeMemory {
    char* begin = nullptr;
    std::size_t size = 0;
};

/// Maps at least twice the bytes needed: memory that is never touched costs address space only.
/// Called on any thread. Throws std::bad_alloc.
LargeMemory mapLargeMemory(std::size_t needed);
/// Unmaps a piece that `mapLargeMemory` returned, or keeps it as the spare. Called on any thread.
void unmapLargeMemory(LargeMemory memory) noexcept;

} // namespace MCPStdio
