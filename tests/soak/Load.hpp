#pragma once

#include "support/ChildProcess.hpp"
#include "tests/theorem/Random.hpp"

#include <cstddef>
#include <functional>
#include <string>

namespace velmiro::soak {

/// One request, without its id, and what its reply must be.
struct Request {
    enum class Expected { result, errorResult, error };

    std::string members; ///< ,"method":"ping"
    Expected expected = Expected::result;
};

using RandomRequest = std::function<Request(theorem::Random&)>;

/// Returns a `ping`, a `tools/list`, a call of `echo` with a text of random length, or a request
/// for a method that does not exist.
Request requestToHello(theorem::Random& random);

/// Likewise for the server, which has no `echo`: it is asked for a tool that does not exist.
Request requestToServer(theorem::Random& random);

/// Returns a call of any tool, also with wrong arguments, and also of those that ask: the user
/// allows what is called "Allowed".
Request callOfTool(theorem::Random& random);

/// Sends that many requests, many at a time, and checks each reply. Throws std::runtime_error if
/// one is missing, is not the expected one, or belongs to no request.
void send(support::ChildProcess& server, std::size_t count, const RandomRequest& next,
          theorem::Random& random);

} // namespace velmiro::soak
