#pragma once

#include "bench/transport/Contender.hpp"

#include <vector>

/// Samples of one contender. Each function starts a server of its own, and checks its answers while
/// the clock is stopped. All throw std::runtime_error.
namespace velmiro::bench {

/// Sends one request after another. Returns the median and the 99th percentile of the round trips.
std::vector<double> sampleRoundTrips(const Contender& contender);

/// Keeps as many requests under way as the pipe holds. Returns the seconds per request, the
/// server's CPU seconds per 100,000 requests, and its peak memory.
std::vector<double> samplePipelined(const Contender& contender);

/// Sends one large request after another. Returns the seconds per request, and the server's peak
/// memory.
std::vector<double> sampleLargeCalls(const Contender& contender);

/// Returns the seconds from before the start of the process to its first reply, and its peak memory
/// then.
std::vector<double> sampleStart(const Contender& contender);

} // namespace velmiro::bench
