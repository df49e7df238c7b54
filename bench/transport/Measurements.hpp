#pragma once

#include "bench/Figures.hpp"
#include "bench/transport/Peers.hpp"

#include <vector>

namespace velmiro::bench {

/// What one run of a server measures: a sample for each figure. The figures have no samples yet.
struct Measurement {
    std::vector<Figure> figures;
    std::vector<Contender> contenders;
    std::vector<double> (*sample)(const Contender&);
};

/// Returns all measurements of the limit, our servers and the peers, if any, which must outlive the
/// result. Throws std::runtime_error if a server answers wrongly.
std::vector<Measurement> measurements(const Peers* peers);

} // namespace velmiro::bench
