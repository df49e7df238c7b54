#pragma once

#include "tests/support/FailingCalls.hpp"

#include <string>
#include <vector>

namespace velmiro::test {

/// One way in which the calls of a family can fail.
struct Fault {
    std::string name; ///< the family
    Call call;
    Effect effect;
    int error;    ///< errno; 0 with `Effect::partial`
    int count;    ///< the number of calls in a row
    bool isFirst; ///< of its family, and of one call only: a slice is content with these
};

/// Returns each family with each error that its calls may report, once and for several calls in a
/// row.
const std::vector<Fault>& faults();

/// Returns a name for messages.
std::string nameOf(const Fault& fault);

} // namespace velmiro::test
