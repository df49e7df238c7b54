#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// What the fuzz targets share. A target reads one input and must survive it; `require` checks what
/// must hold for its result.
namespace velmiro::fuzz {

inline std::string_view textOf(const std::uint8_t* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

/// Ends the process as a finding unless the condition holds.
inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace velmiro::fuzz

/// Called by libFuzzer for each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
