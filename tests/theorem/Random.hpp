#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace velmiro::theorem {

/// Random numbers that are the same for a seed with every compiler and library (splitmix64).
class Random {
public:
    explicit Random(std::uint64_t seed) : state_{seed} {}

    std::uint64_t next() {
        std::uint64_t mixed = (state_ += 0x9E3779B97F4A7C15U);
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    /// Returns a number from 0 to `end` - 1.
    std::size_t below(std::size_t end) { return static_cast<std::size_t>(next() % end); }

    /// Returns a number from `first` to `last`, inclusive.
    std::size_t between(std::size_t first, std::size_t last) {
        return first + below(last - first + 1);
    }

    /// Returns true in so many of a hundred cases.
    bool percent(std::size_t share) { return below(100) < share; }

    /// Returns one of an array's elements.
    template <typename Elements>
    const auto& oneOf(const Elements& elements) {
        const std::span all{elements};
        return all[below(all.size())];
    }

private:
    std::uint64_t state_;
};

} // namespace velmiro::theorem
