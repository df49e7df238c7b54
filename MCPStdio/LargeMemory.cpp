#include "MCPStdio/LargeMemory.hpp"

#include <cstdint>
#include <new>
#include <sys/mman.h>

namespace MCPStdio {
namespace {

constexpr std::size_t largePage = std::size_t{2} << 20U;

} // namespace

char* mapLargeMemory(std::size_t size) {
    // Large pages lie at multiples of their size: room for that, and what is too much goes back.
    void* const mapped = ::mmap(nullptr, size + largePage, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        throw std::bad_alloc{};
    }
    auto* const begin = static_cast<char*>(mapped);
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(mapped) % largePage;
    if (before > 0) {
        ::munmap(begin, before);
    }
    ::munmap(begin + before + size, largePage - before);
#ifdef MADV_HUGEPAGE
    ::madvise(begin + before, size, MADV_HUGEPAGE);
#endif
    return begin + before;
}

void unmapLargeMemory(char* memory, std::size_t size) noexcept {
    ::munmap(memory, size);
}

} // namespace MCPStdio
