#pragma once

#include <optional>
#include <string_view>

namespace MCPStdio {

/// The double nearest to a number written as JSON writes them, whatever the process's locale;
/// nothing when it is too large for one. A number too small for one is zero.
std::optional<double> readDecimal(std::string_view number);

} // namespace MCPStdio
