#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <optional>
#include <span>
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

/// What a value that was looked up must be. Throw std::runtime_error when it is not.
std::span<const MCPStdio::JSONValue> elementsOf(const MCPStdio::JSONValue* array);
std::string textOf(const MCPStdio::JSONValue* text);

/// Holds for replies to `count` requests, in any order: each id once, each result as expected.
/// Throws std::runtime_error when it does not.
void check(std::string_view replies, int count, const Expected& expected);

} // namespace velmiro::bench
