#pragma once

#include "bench/data/Dataset.hpp"

#include <cstddef>
#include <string>

namespace velmiro::bench {

/// The seconds that a program needed for a question in one round.
struct Timing {
    double first;   ///< from the start of a program that has kept nothing
    double further; ///< the median of the later ones
};

/// Throws std::runtime_error unless `who` has found what the files were made to contain.
void require(const Found& found, const Question& question, const std::string& who);

/// Starts a server, asks once and then `furtherCalls` times, and checks each answer.
Timing timeServer(const Question& question, std::size_t furtherCalls);

/// Returns the resident memory, in bytes, of the largest process that a call starts, at its peak.
double peakOfCall(const Question& question);

} // namespace velmiro::bench
