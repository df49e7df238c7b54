#include "MCPStdio/Decimal.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is not in <clocale>
#include <string>

// `std::from_chars` for doubles would be the one call to make, but one of the two standard
// libraries this is built with has none. Nearly all numbers have so few digits that both the digits
// and the power of ten are exact doubles; then one multiplication or division rounds once and is
// exact. The rest goes to the C library, told to use the plain locale.

namespace MCPStdio {
namespace {

double readExactly(std::string_view number) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string terminated{number};
    return strtod_l(terminated.c_str(), nullptr, plain);
}

constexpr std::array<double, 23> powersOfTen{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                             1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                             1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

} // namespace

std::optional<double> readDecimal(std::string_view number) {
    constexpr std::uint64_t largestExact = std::uint64_t{1} << 53U;
    constexpr int mostDigits = 18; // so that the digits cannot overflow
    std::uint64_t digits = 0;
    int count = 0;
    int exponent = 0;
    bool fraction = false;
    const bool negative = number.starts_with('-');
    std::size_t at = negative ? 1 : 0;
    for (; at < number.size() && count <= mostDigits; ++at) {
        const char character = number[at];
        if (character == '.') {
            fraction = true;
        } else if (character >= '0' && character <= '9') {
            digits = digits * 10 + static_cast<std::uint64_t>(character - '0');
            count += digits == 0 ? 0 : 1;
            exponent -= fraction ? 1 : 0;
        } else {
            break;
        }
    }
    const bool complete = at == number.size();
    if (complete && digits <= largestExact && exponent >= -22) {
        const double exact =
            static_cast<double>(digits) / powersOfTen[static_cast<std::size_t>(-exponent)];
        return negative ? -exact : exact;
    }
    const double value = readExactly(number);
    if (std::isinf(value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace MCPStdio
