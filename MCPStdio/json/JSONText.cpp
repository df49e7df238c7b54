// Conversions from and to text: separate from JSONValue.cpp, on which reader and writer depend.

#include "MCPStdio/json/JSONReader.hpp"
#include "MCPStdio/json/JSONWriter.hpp"

namespace MCPStdio {

JSONValue JSONValue::parse(std::string_view text) {
    return JSONReader{text}.read();
}

std::string JSONValue::jsonString() const {
    try {
        return compactEncoder().write(*this);
    } catch (const JSONError&) {
        return "null";
    }
}

} // namespace MCPStdio
