#include "MCPStdio/Decimal.hpp"

#include <charconv>
#include <cstdlib>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is not in <clocale>
#include <string>
#if __has_include(<xlocale.h>)
#include <xlocale.h> // where some systems keep it
#endif

namespace MCPStdio {
namespace {

/// What every C library has: as exact, but slower, and it has to be told which locale.
Decimal readSlowly(std::string_view text) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string number{text.substr(0, text.find_first_not_of("+-.0123456789eE"))};
    char* end = nullptr;
    const double value = strtod_l(number.c_str(), &end, plain);
    return {value, static_cast<std::size_t>(end - number.c_str())};
}

} // namespace

Decimal readDecimal(std::string_view text) {
#ifdef __cpp_lib_to_chars // one of the two standard libraries this is built with has none
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc{}) {
        return {value, static_cast<std::size_t>(end - text.data())};
    }
#endif
    return readSlowly(text); // knows too large from too small
}

} // namespace MCPStdio
