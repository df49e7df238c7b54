#pragma once

#include "bench/Figures.hpp"
#include "bench/transport/Peers.hpp"

#include <vector>

namespace velmiro::bench {

/// What can be measured at once, as so many figures, which have no samples yet.
struct Measurement {
    std::vector<Figure> figures;
    std::vector<Contender> contenders;
    std::vector<double> (*take)(const Contender&);
};

/// All there is to measure of the limit, our servers, and the peers where there are any, which are
/// to outlive this. Throws std::runtime_error when a server answers something else than it should.
std::vector<Measurement> measurements(const Peers* peers);

} // namespace velmiro::bench
