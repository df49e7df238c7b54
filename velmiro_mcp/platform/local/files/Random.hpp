#pragma once

#include <string>

namespace velmiro::local {

/// Returns a random UUID (version 4): 3f0c9c1e-5d0a-4a52-9a3e-0f6f1e1b7c55.
std::string randomUUID();

} // namespace velmiro::local
