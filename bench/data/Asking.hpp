#pragma once

#include "bench/data/Case.hpp"

#include <cstddef>
#include <string>

namespace velmiro::bench {

/// What a program took for a question in one round, in seconds.
struct Taken {
    double first;   ///< with the start of a program that has kept nothing
    double further; ///< the median of those after it
};

/// Throws std::runtime_error unless `who` has found what the files were made to hold.
void require(const Found& found, const Question& question, const std::string& who);

/// Starts a server, asks once, then so many further times, and checks each answer.
Taken askServer(const Question& question, std::size_t furtherCalls);

} // namespace velmiro::bench
