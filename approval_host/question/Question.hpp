#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmiro::host {

/// A question as it is shown. Whatever was sent, both texts consist of visible characters and are
/// bounded in length. Nothing else of the sent line is kept.
struct Question {
    std::string tool;
    std::string summary;
};

/// Parses a question line. Returns nullopt unless it is an object with the strings "summary" and
/// "tool".
std::optional<Question> parseQuestion(std::string_view line);

} // namespace velmiro::host
