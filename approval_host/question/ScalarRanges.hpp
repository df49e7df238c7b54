#pragma once

#include <span>

namespace velmiro::host {

struct ScalarRange {
    char32_t first;
    char32_t last;
};

/// Returns whether one of the ranges, which are in ascending order, contains the scalar value.
bool contains(std::span<const ScalarRange> ranges, char32_t scalar) noexcept;

/// All characters that are drawn on the one before them: the nonspacing and enclosing marks of
/// Unicode 14, and the Hangul vowels and final consonants that join a syllable.
extern const std::span<const ScalarRange> markRanges;

} // namespace velmiro::host
