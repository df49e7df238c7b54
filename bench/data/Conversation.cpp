#include "bench/data/Conversation.hpp"

#include "bench/Load.hpp"
#include "bench/Replies.hpp"
#include "bench/System.hpp"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace velmiro::bench {

using MCPStdio::JSONValue;

Conversation::Conversation() : server_{{programFolder() / "velmiro_mcp"}} {}

JSONValue Conversation::call(const std::string& tool, const JSONValue& arguments) {
    const auto parameters = JSONValue::object({{"name", tool}, {"arguments", arguments}});
    const Request request{R"(,"method":"tools/call","params":)" + parameters.jsonString()};
    const JSONValue result = resultOf(firstReply(server_, request.lines(1)));
    const std::string text = textOf(elementsOf(result["content"]).front()["text"]);
    if (const JSONValue* failed = result["isError"]; failed && failed->boolValue() == true) {
        throw std::runtime_error{tool + ": " + text};
    }
    return JSONValue::parse(text);
}

std::string outputOf(const std::vector<std::string>& command) {
    const Server program{command};
    std::string output;
    std::array<char, 65'536> chunk{};
    for (;;) {
        const ssize_t count = ::read(program.replies(), chunk.data(), chunk.size());
        if (count < 0) {
            throw std::system_error{errno, std::generic_category(), command.front()};
        }
        if (count == 0) {
            return output;
        }
        output.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

} // namespace velmiro::bench
