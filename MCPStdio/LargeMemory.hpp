#pragma once

#include <cstddef>

/// Memory for texts of megabytes, straight from the system. Where the system can, it comes in large
/// pages: giving page after page of 4 KB takes several times as long as filling them. What is not
/// touched costs address space only, and all is given back at once.
namespace MCPStdio {

/// From this size on it is worth it.
inline constexpr std::size_t largeMemory = std::size_t{4} << 20U;

/// Throws std::bad_alloc.
char* mapLargeMemory(std::size_t size);
void unmapLargeMemory(char* memory, std::size_t size) noexcept;

} // namespace MCPStdio
