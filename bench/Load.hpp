#pragma once

#include "bench/Server.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::bench {

/// A request to be sent over and over, each time with an id of its own. All ids have as many
/// digits, so that all replies are of one length.
struct Request {
    static constexpr int firstID = 1'000'000;

    std::string members; ///< what follows the id: ,"method":"ping"

    /// One line, with an id.
    [[nodiscard]] std::string line(int id) const;

    /// As many lines as asked for.
    [[nodiscard]] std::string lines(int count) const;
};

/// Sends lines, whose replies must be few enough to lie in the pipe meanwhile. Throws
/// std::system_error when the server has ended.
void send(Server& server, std::string_view lines);

/// Sends lines and takes in the first line that comes back, without its end. Throws
/// std::runtime_error when the server ends.
std::string firstReply(Server& server, std::string_view lines);

/// Sends lines, reading while it writes, until `replies` is full. Gives the seconds from the first
/// byte out to the last byte in. Throws std::runtime_error.
double exchange(Server& server, std::string_view lines, std::string& replies);

/// Sends a line and waits for the reply, once for each element of `trips`: the seconds it took. All
/// replies have the length of `reply`, which holds the last one afterwards.
void roundTrips(Server& server, std::string_view line, std::string& reply,
                std::vector<double>& trips);

} // namespace velmiro::bench
