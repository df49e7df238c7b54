#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Values of VELMIRO_ENABLED.
namespace velmiro::doctor {

/// Returns the names in a value that are no kind.
std::vector<std::string> namesOfNoKind(std::string_view value);

/// Returns the value that was probably meant: calendar,mail for Calender,email. All kinds if no
/// name resembles one.
std::string correctedEnabled(std::string_view value);

} // namespace velmiro::doctor
