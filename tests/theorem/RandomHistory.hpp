#pragma once

#include "tests/theorem/History.hpp"

#include <cstdint>

namespace velmiro::theorem {

enum class Kind {
    quick,     ///< nothing takes long
    slow,      ///< the client's patience is a second, and hosts exhaust it
    overFiles, ///< for the real server, whose variable and patience are fixed
};

/// Returns the history of a seed, which alone determines it.
History randomHistory(std::uint64_t seed, Kind kind);

} // namespace velmiro::theorem
