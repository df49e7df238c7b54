#include "bench/data/ServerSession.hpp"

#include "bench/Load.hpp"
#include "bench/Replies.hpp"
#include "bench/System.hpp"

#include <stdexcept>

namespace velmiro::bench {

using MCPStdio::JSONValue;

ServerSession::ServerSession() : server_{{programFolder() / "velmiro_mcp"}} {}

JSONValue ServerSession::call(const std::string& tool, const JSONValue& arguments) {
    const auto parameters = JSONValue::object({{"name", tool}, {"arguments", arguments}});
    const Request request{R"(,"method":"tools/call","params":)" + parameters.jsonString()};
    const JSONValue result = resultOf(firstReply(server_, request.lines(1)));
    const std::string text = textOf(elementsOf(result["content"]).front()["text"]);
    if (const JSONValue* failed = result["isError"]; failed && failed->boolValue() == true) {
        throw std::runtime_error{tool + ": " + text};
    }
    return JSONValue::parse(text);
}

JSONValue identifierOf(const std::string& subject, const JSONValue& list) {
    ServerSession asking;
    const JSONValue inbox = asking.call("mail_list", list);
    for (const JSONValue& message : elementsOf(inbox["messages"])) {
        if (textOf(message["subject"]) == subject) {
            return *message["id"];
        }
    }
    throw std::runtime_error{"no " + subject + " is listed"};
}

} // namespace velmiro::bench
