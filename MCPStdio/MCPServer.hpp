#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Actor.hpp"
#include "MCPStdio/concurrency/Backlog.hpp"
#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/TextBuffer.hpp"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <variant>
#include <vector>

namespace MCPStdio {

/// A Model Context Protocol server for tools: JSON-RPC 2.0, one message per line.
///
///     MCPServer server{"hello", "1.0", std::nullopt, {echoTool}};
///     syncWait(server.run());
///
/// The server is an actor: it dispatches messages and formats results one at a time. Tool handlers
/// run outside it, on any thread, so calls overlap one another and everything else; replies are
/// sent in the order in which they are ready. There is no protocol state: every request is answered
/// at any time, whatever came before it.
class MCPServer {
public:
    /// An error of the protocol itself, sent as a JSON-RPC error. A failing tool is not one.
    struct RPCError {
        std::int64_t code;
        std::string message;
    };

    /// The first one is the answer to a client that asks for a version not listed here.
    static constexpr std::array<std::string_view, 3> supportedProtocolVersions{
        "2025-06-18", "2025-03-26", "2024-11-05"};

    /// If several tools have the same name, the last one is called, and it is listed as often as
    /// the name was given.
    MCPServer(std::string name, std::string version, std::optional<std::string> instructions,
              std::vector<MCPTool> tools);

    /// Reads requests from `input` and writes replies to `output` until the input ends and every
    /// request is answered. Called once. Blocks the awaiting thread while it reads, and may
    /// continue to read on another one while a handler runs on the first.
    Task<void> run(int input = STDIN_FILENO, int output = STDOUT_FILENO);

    /// Answers one line; nullopt if it calls for no answer. The answer is empty if it cannot be
    /// written as JSON.
    Task<std::optional<TextBuffer>> handleLine(std::string line);

    const std::string name;
    const std::string version;
    const std::optional<std::string> instructions;

private:
    /// A tool call that is still to be made, and the id of the request, if it has one.
    struct Call {
        std::optional<JSONValue> id;
        const MCPTool* tool;
        JSONValue arguments;
    };
    /// Where a handler starts.
    enum class CallThread { worker, current };
    struct NoReply {};
    /// The outcome of `dispatch`: nothing to send, a reply, or a call.
    using Outcome = std::variant<NoReply, TextBuffer, Call>;

    template <typename Send>
    Task<void> serve(std::optional<JSONValue> message, Send send);
    template <typename Send>
    std::optional<Call> answer(Actor::Turn turn, std::optional<JSONValue> message,
                               const Send& send);
    [[nodiscard]] Outcome dispatch(std::optional<JSONValue> message) const;
    template <typename Send>
    std::optional<Task<void>> begin(Call call, CallThread thread, const Send& send);
    template <typename Send>
    Task<void> perform(Call call, CallThread thread, Send send);

    [[nodiscard]] TextBuffer reply(const JSONValue& id, std::string_view method,
                                   const JSONValue& params) const;
    [[nodiscard]] const MCPTool& calledTool(const JSONValue& params) const;
    [[nodiscard]] JSONValue initializeResult(const JSONValue& params) const;
    [[nodiscard]] JSONValue toolsListResult() const;

    Actor actor_;
    Backlog backlog_; ///< requests neither answered nor with a call that has started
    std::map<std::string, MCPTool, std::less<>> tools_; ///< constant after construction
    std::vector<std::string> order_;                    ///< the tools' names as they were given
    std::optional<std::string> toolsList_; ///< written once; nullopt if it has no JSON form
};

} // namespace MCPStdio
