#pragma once

#include <cstddef>
#include <string_view>

namespace MCPStdio {

struct Decimal {
    double value;       ///< infinite when it is too large for a double, zero when too small
    std::size_t length; ///< how much of the text it takes; zero where there is none
};

/// The longest beginning of a text that is a decimal number, and the double nearest to it, whatever
/// the process's locale.
Decimal readDecimal(std::string_view text);

} // namespace MCPStdio
