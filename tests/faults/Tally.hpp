#pragma once

#include <set>
#include <string>

namespace velmiro::test {

/// What a run has tried, printed at its end as one line.
struct Tally {
    long tried = 0;
    long wrong = 0;
    std::set<std::string> tools;
};

/// Returns the tally of a suite: "faults", "kills", "power".
Tally& tallyOf(const std::string& suite);

} // namespace velmiro::test
