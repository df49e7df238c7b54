#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/TextBuffer.hpp"

#include <string>
#include <string_view>

namespace MCPStdio {

/// Writes values as JSON text: members in the order of their keys, slashes as they are. Whole
/// numbers below 1e15 are written without a fraction, all others in the shortest form that reads
/// back as the same double. A writer has no state: any thread may use one at any time.
class JSONWriter {
public:
    enum class Form {
        compact, ///< no white space at all
        pretty,  ///< two spaces a level, one member or element a line, " : " before a value
    };

    explicit constexpr JSONWriter(Form form) noexcept : form_{form} {}

    /// Throws JSONError for a number that is NaN or infinite.
    [[nodiscard]] std::string write(const JSONValue& value) const;

    /// The same, behind what `text` already holds. When it throws, `text` holds a part of it.
    void append(TextBuffer& text, const JSONValue& value) const;

private:
    Form form_;
};

/// The one compact writer behind every protocol line and every `jsonString`.
const JSONWriter& compactEncoder() noexcept;

/// Appends a JSON string: quotes, and the shortest standard escapes where one is needed.
void appendJSONString(TextBuffer& text, std::string_view content);

} // namespace MCPStdio
