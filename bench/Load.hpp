#pragma once

#include "bench/Server.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::bench {

/// A request that is sent many times, with a new id each time. All ids have the same number of
/// digits, so all replies have the same length.
struct Request {
    static constexpr int firstID = 1'000'000;

    std::string members; ///< the text after the id: ,"method":"ping"

    /// Returns one line with this id.
    [[nodiscard]] std::string line(int id) const;

    /// Returns `count` lines.
    [[nodiscard]] std::string lines(int count) const;
};

/// Sends lines. Their replies must fit into the pipe, since nothing is read meanwhile. Throws
/// std::system_error if the server has ended.
void send(Server& server, std::string_view lines);

/// Sends lines and returns the first reply, without its line feed. Throws std::runtime_error if the
/// server ends.
std::string firstReply(Server& server, std::string_view lines);

/// Sends lines, and reads meanwhile, until `replies` is full. Returns the seconds from the first
/// byte sent to the last byte received. Throws std::runtime_error.
double exchange(Server& server, std::string_view lines, std::string& replies);

/// Sends a line and waits for its reply, once for each element of `trips`, which is set to the
/// seconds it took. All replies have the length of `reply`, which is set to the last one.
void roundTrips(Server& server, std::string_view line, std::string& reply,
                std::vector<double>& trips);

} // namespace velmiro::bench
