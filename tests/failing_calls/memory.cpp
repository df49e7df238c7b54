// Requests for memory that a plan lets fail: operator new, and what the C library offers. Of the
// latter, those count that the program itself makes, the C library and the C++ library on its
// behalf: others' libraries have their own ways to fail, some by ending the process.

#include "tests/failing_calls/Decision.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string_view>

#include <link.h>

extern "C" {
// The C library's own, under names that are not replaced here.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

using namespace velmiro::test;

/// Where the code of an object is in memory.
struct Code {
    std::uintptr_t begin;
    std::uintptr_t end;
};
std::array<Code, 3> ours{}; ///< of the program, the C library, the C++ library

int addObject(dl_phdr_info* object, std::size_t /*size*/, void* count) {
    auto& number = *static_cast<std::size_t*>(count);
    const std::string_view name = object->dlpi_name;
    const bool isOurs = name.empty() || name.find("/libc.so") != std::string_view::npos ||
                        name.find("/libstdc++.so") != std::string_view::npos;
    for (int index = 0; isOurs && number < ours.size() && index < object->dlpi_phnum; ++index) {
        const auto& segment = object->dlpi_phdr[index];
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
            const auto begin = object->dlpi_addr + segment.p_vaddr;
            ours[number++] = {begin, begin + segment.p_memsz};
            break;
        }
    }
    return 0;
}

__attribute__((constructor)) void findOurs() {
    std::size_t count = 0;
    ::dl_iterate_phdr(addObject, &count);
}

bool isOurs(void* caller) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (const Code& code : ours) {
        if (address >= code.begin && address < code.end) {
            return true;
        }
    }
    return false;
}

bool fails(Call call) noexcept {
    const int error = errno;
    const bool isFailed = decide(call) == Decision::fail;
    errno = isFailed ? ENOMEM : error;
    return isFailed;
}

/// Returns null if there is no memory.
void* allocate(std::size_t size, std::size_t alignment = 0) noexcept {
    if (fails(Call::allocate)) {
        return nullptr;
    }
    size = size == 0 ? 1 : size;
    return alignment == 0 ? __libc_malloc(size) : __libc_memalign(alignment, size);
}

void* orThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc{};
    }
    return memory;
}

} // namespace

// NOLINTBEGIN(misc-new-delete-overloads): the C++ library's own operators free what is from malloc
void* operator new(std::size_t size) {
    return orThrow(allocate(size));
}
void* operator new[](std::size_t size) {
    return orThrow(allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, static_cast<std::size_t>(alignment)));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(allocate(size, static_cast<std::size_t>(alignment)));
}
// NOLINTEND(misc-new-delete-overloads)

extern "C" {

void* malloc(std::size_t size) noexcept {
    const bool isFailed = isOurs(__builtin_return_address(0)) && fails(Call::heap);
    return isFailed ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    const bool isFailed = isOurs(__builtin_return_address(0)) && fails(Call::heap);
    return isFailed ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* old, std::size_t size) noexcept {
    const bool isFailed = isOurs(__builtin_return_address(0)) && fails(Call::heap);
    return isFailed ? nullptr : __libc_realloc(old, size);
}
}
