#include "MCPStdio/json/Decimal.hpp"

#include <array>
#include <bit>
#include <cassert>
#include <charconv>
#include <cstdlib>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is not in <clocale>
#include <string>
#if __has_include(<xlocale.h>)
#include <xlocale.h> // declares strtod_l on some systems
#endif

namespace MCPStdio {
namespace {

/// A power of ten: the 128 bits of `high` and `low`, of which the highest is set, times two to the
/// power of `exponent`. Rounded up if it needs more bits.
struct PowerOfTen {
    std::uint64_t high;
    std::uint64_t low;
    int exponent;
};

constexpr PowerOfTen powerOfTen(int power) {
    std::uint64_t five = 1;
    for (int i = power < 0 ? -power : power; i > 0; --i) {
        five *= 5;
    }
    const int leadingZeros = std::countl_zero(five);
    if (power >= 0) {
        return {five << static_cast<unsigned>(leadingZeros), 0, power - 64 - leadingZeros};
    }
    // Long division of the power of two for which the quotient has 128 bits.
    std::array<std::uint64_t, 2> quotient{};
    std::uint64_t remainder = std::uint64_t{1} << static_cast<unsigned>(63 - leadingZeros);
    for (std::uint64_t& word : quotient) {
        for (int bit = 0; bit < 64; ++bit) {
            remainder *= 2;
            word = word << 1U | static_cast<std::uint64_t>(remainder >= five);
            remainder -= remainder >= five ? five : 0;
        }
    }
    return {quotient[0], quotient[1] + 1, power - 127 - (64 - leadingZeros)};
}

constexpr std::size_t indexOf(int power) {
    return largestFastPower + static_cast<std::size_t>(power);
}
constexpr auto powersOfTen = [] {
    std::array<PowerOfTen, 2 * largestFastPower + 1> powers{};
    for (int power = -largestFastPower; power <= largestFastPower; ++power) {
        powers[indexOf(power)] = powerOfTen(power);
    }
    return powers;
}();

/// Reads a number with the C library: as exact, but slower, and in need of an explicit locale.
double readSlowly(std::string_view number) {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(std::string{number}.c_str(), nullptr, cLocale);
}

} // namespace

double nearestDouble(std::uint64_t digits, int powerOfTen) noexcept {
    if (digits == 0) {
        return 0;
    }
    assert(std::abs(powerOfTen) <= largestFastPower);
    const PowerOfTen& power = powersOfTen[indexOf(powerOfTen)];
    const auto leadingZeros = static_cast<unsigned>(std::countl_zero(digits));
    __extension__ using Product = unsigned __int128;
    const auto times = [&](std::uint64_t factor) {
        return Product{digits << leadingZeros} * factor;
    };
    // The upper two words of three. Only the last bit of a power may be wrong, which affects the
    // third word alone. A number divided by at most 27 fives is either halfway between two doubles
    // or so far from it that the second word shows it.
    const Product product = times(power.high) + static_cast<std::uint64_t>(times(power.low) >> 64U);
    const auto high = static_cast<std::uint64_t>(product >> 64U);
    const auto low = static_cast<std::uint64_t>(product);
    // One bit more than a double has is kept; it decides the rounding.
    const auto dropped = static_cast<unsigned>(10 - std::countl_zero(high));
    std::uint64_t kept = high >> dropped;
    const bool isHalfway = kept << dropped == high && low == 0;
    kept += (isHalfway && (kept & 3U) == 1) ? 0 : kept & 1U;
    // The highest kept bit adds one to the exponent, which is right also if rounding carried.
    const int exponent = 128 + power.exponent - static_cast<int>(leadingZeros) +
                         static_cast<int>(dropped) + 1 + 52 + 1023;
    return std::bit_cast<double>((static_cast<std::uint64_t>(exponent - 1) << 52U) + (kept >> 1U));
}

double readDecimal(std::string_view number) {
#ifdef __cpp_lib_to_chars // one of the standard libraries in use lacks it
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error == std::errc{}) {
        return value;
    }
#endif
    return readSlowly(number); // distinguishes overflow from underflow
}

} // namespace MCPStdio
