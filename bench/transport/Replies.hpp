#pragma once

#include "MCPStdio/JSONValue.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace velmiro::bench {

/// What is to come back for a request.
struct Expected {
    std::size_t length;                        ///< of each reply, with its line feed
    std::optional<MCPStdio::JSONValue> result; ///< nothing: the limit's line, of which only the
                                               ///< length matters
};

/// The result in a reply. Throws std::runtime_error when there is none.
MCPStdio::JSONValue resultOf(std::string_view reply);

/// Holds for replies to `count` requests, in any order: each id once, each result as expected.
/// Throws std::runtime_error when it does not.
void check(std::string_view replies, int count, const Expected& expected);

} // namespace velmiro::bench
