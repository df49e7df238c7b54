#pragma once

#include "MCPStdio/json/JSONValue.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmiro::test {

/// What the agent reads of a tool's call.
struct Answer {
    std::string text{};
    bool isError = false;
    bool isThere = true; ///< false: the server ended or hung instead
    std::int64_t id = 0;

    [[nodiscard]] bool has(std::string_view part) const {
        return text.find(part) != std::string::npos;
    }
};

/// Returns the answer in a server's line; one that says so if there is no line. Throws, which ends
/// the test, for a line that is no reply of the protocol.
inline Answer answerIn(const std::optional<std::string>& line) {
    using MCPStdio::JSONValue;
    if (!line) {
        return {"(no reply)", true, false};
    }
    const auto reply = JSONValue::parse(*line);
    const std::int64_t id = reply["id"]->intValue().value_or(0);
    if (const JSONValue* const error = reply["error"]) {
        return {std::string{*(*error)["message"]->stringValue()}, true, true, id};
    }
    const JSONValue& result = *reply["result"];
    return {std::string{*(*(*result["content"])[0])["text"]->stringValue()},
            result["isError"]->boolValue() == true, true, id};
}

} // namespace velmiro::test
