#pragma once

#include "bench/transport/Contender.hpp"

#include <vector>

/// What can be measured at once, of one contender. Each starts a server of its own, and checks what
/// that answered behind the clock's back. All throw std::runtime_error.
namespace velmiro::bench {

/// One request after the other: half of the trips, and 99 in 100, took no longer than this.
std::vector<double> takeRoundTrips(const Contender& contender);

/// As many requests as the pipe holds are under way: seconds for each, and the server's CPU seconds
/// for a hundred thousand of them, and its memory after them all.
std::vector<double> takePipelined(const Contender& contender);

/// One large request after the other: seconds for each, and the server's memory after them all.
std::vector<double> takeLargeCalls(const Contender& contender);

/// From before the process was made to its first reply, and its memory then.
std::vector<double> takeStart(const Contender& contender);

} // namespace velmiro::bench
