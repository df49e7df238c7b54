#pragma once

#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/TextBuffer.hpp"

#include <string>
#include <string_view>

namespace MCPStdio {

/// Writes values as JSON text: members in the order of their keys, slashes unescaped. Whole numbers
/// below 1e15 have no fraction; all others have the shortest form that reads back as the same
/// double. A writer has no state: any thread may use it at any time.
class JSONWriter {
public:
    enum class Form {
        compact, ///< no white space
        pretty,  ///< two spaces a level, one member or element a line, " : " after a key
    };

    explicit constexpr JSONWriter(Form form) noexcept : form_{form} {}

    /// Returns the text. Throws JSONError for a number that is NaN or infinite.
    [[nodiscard]] std::string write(const JSONValue& value) const;

    /// Appends the text to `text`. If it throws, a part of it has been appended.
    void append(TextBuffer& text, const JSONValue& value) const;

private:
    Form form_;
};

/// Returns the compact writer, which writes every protocol line and every `jsonString`.
const JSONWriter& compactEncoder() noexcept;

/// Appends a JSON string in its quotes, with the shortest standard escapes where needed.
void appendJSONString(TextBuffer& text, std::string_view content);

} // namespace MCPStdio
