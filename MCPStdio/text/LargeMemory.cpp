#include "MCPStdio/text/LargeMemory.hpp"

#include "MCPStdio/concurrency/Mutex.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace MCPStdio {
namespace {

constexpr std::size_t largePage = std::size_t{2} << 20U;
/// The size of a piece, unless it has to be larger; then it is a larger power of two.
constexpr std::size_t standardSize = std::size_t{64} << 20U;

/// The spare: a piece of the standard size, or none.
struct Spare {
    Mutex mutex;
    LargeMemory memory MCPSTDIO_GUARDED_BY(mutex);
};

Spare& spare() {
    static auto* const kept = new Spare; // never destroyed: threads may outlive `main`
    return *kept;
}

/// Replaces the spare, by none if `memory` is empty, and returns the one before.
LargeMemory exchangeSpare(LargeMemory memory) {
    Spare& kept = spare();
    const MutexLock lock{kept.mutex};
    return std::exchange(kept.memory, memory);
}

LargeMemory mapNew(std::size_t size) {
    // Large pages are aligned to their size: map one more, then unmap the excess on both sides.
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
    return {begin + before, size};
}

} // namespace

LargeMemory mapLargeMemory(std::size_t needed) {
    constexpr std::size_t most = std::size_t{1} << 62U;
    if (needed > most / 2) {
        throw std::bad_alloc{};
    }
    const std::size_t size = std::bit_ceil(std::max(standardSize, 2 * needed));
    if (size == standardSize) {
        if (const auto kept = exchangeSpare({}); kept.begin != nullptr) {
            return kept;
        }
    }
    try {
        return mapNew(size);
    } catch (const std::bad_alloc&) {
        const auto kept = exchangeSpare({});
        if (kept.begin == nullptr) {
            throw;
        }
        ::munmap(kept.begin, kept.size);
    }
    return mapNew(size);
}

void unmapLargeMemory(LargeMemory memory) noexcept {
    if (memory.size == standardSize) {
        ::madvise(memory.begin, memory.size, MADV_FREE);
        memory = exchangeSpare(memory);
    }
    if (memory.begin != nullptr) {
        ::munmap(memory.begin, memory.size);
    }
}

} // namespace MCPStdio
