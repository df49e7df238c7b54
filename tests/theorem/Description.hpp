#pragma once

#include "tests/theorem/History.hpp"

#include <string>

namespace velmiro::theorem {

/// Returns a history as text for a reader, a line for each step.
std::string described(const History& history);

} // namespace velmiro::theorem
