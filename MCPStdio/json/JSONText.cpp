// A value from text and as text. Apart from JSONValue.cpp, which the reader and the writer use.

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
