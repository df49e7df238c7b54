#include "MCPStdio/MCPTool.hpp"

#include "MCPStdio/json/JSONWriter.hpp"

namespace MCPStdio {

MCPToolResult MCPToolResult::json(const JSONValue& value) {
    try {
        return {JSONWriter{JSONWriter::Form::pretty}.write(value), false};
    } catch (const JSONError&) {
        return {"{}", false};
    }
}

} // namespace MCPStdio
