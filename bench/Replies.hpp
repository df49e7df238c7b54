#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmiro::bench {

/// The expected reply to a request.
struct Expected {
    std::size_t length;                        ///< of each reply, including its line feed
    std::optional<MCPStdio::JSONValue> result; ///< none for the limit, whose replies are only
                                               ///< checked for their length
};

/// Returns the result in a reply. Throws std::runtime_error if there is none.
MCPStdio::JSONValue resultOf(std::string_view reply);

/// Return the elements of an array and the text of a string. Throw std::runtime_error if the value
/// is missing or of another kind.
std::span<const MCPStdio::JSONValue> elementsOf(const MCPStdio::JSONValue* array);
std::string textOf(const MCPStdio::JSONValue* text);

/// Checks the replies to `count` requests, which may be in any order: each id occurs once, and each
/// result is the expected one. Throws std::runtime_error otherwise.
void check(std::string_view replies, int count, const Expected& expected);

} // namespace velmiro::bench
