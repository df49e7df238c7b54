#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmiro::host {

/// One question, as it is shown: both texts are visible in every character and bounded in length,
/// whatever was sent. Nothing else of what was sent is kept.
struct Question {
    std::string tool;
    std::string summary;
};

/// Reads a question line; nothing when it is not an object with the strings "summary" and "tool".
std::optional<Question> parseQuestion(std::string_view line);

} // namespace velmiro::host
