#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Actor.hpp"
#include "MCPStdio/concurrency/Backlog.hpp"
#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "MCPStdio/text/TextBuffer.hpp"
#include "MCPStdio/transport/LineSink.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <variant>
#include <vector>

namespace MCPStdio {

/// A Model Context Protocol server for tools: JSON-RPC 2.0, one text a line.
///
///     MCPServer server{"hello", "1.0", std::nullopt, {echoTool}};
///     syncWait(server.run());
///
/// The server is an actor: lines are parsed, dispatched and their results formatted one at a time.
/// A tool's handler runs outside of it, on a worker, so calls overlap one another and everything
/// else; replies leave in the order in which they are done. There is no protocol state: every
/// request is answered at any time, whatever came before it.
class MCPServer {
public:
    /// An error of the protocol itself, sent as a JSON-RPC error. A tool that fails is none.
    struct RPCError {
        std::int64_t code;
        std::string message;
    };

    /// The first one is answered to a client that asks for any other.
    static constexpr std::array<std::string_view, 3> supportedProtocolVersions{
        "2025-06-18", "2025-03-26", "2024-11-05"};

    /// Of tools with the same name the last one is called, and is listed as often as the name was
    /// given.
    MCPServer(std::string name, std::string version, std::optional<std::string> instructions,
              std::vector<MCPTool> tools);

    /// Serves one descriptor on another until the input ends and every request is answered. To be
    /// called once. It blocks the thread that awaits it while it reads.
    Task<void> run(int input = STDIN_FILENO, int output = STDOUT_FILENO);

    /// Answers one line, which it reads at once; nothing where no answer is due. The answer is
    /// empty when it cannot be written as JSON.
    Task<std::optional<TextBuffer>> handleLine(std::string_view line);

    const std::string name;
    const std::string version;
    const std::optional<std::string> instructions;

private:
    /// A call to be made, and the id of the request, if it has one.
    struct Call {
        std::optional<JSONValue> id;
        const ToolHandler* handler;
        JSONValue arguments;
    };
    struct Nothing {};
    /// What a message comes to at once.
    using Step = std::variant<Nothing, TextBuffer, Call>;

    Task<std::optional<TextBuffer>> collectAnswer(std::optional<JSONValue> message);
    template <typename Send>
    Task<void> serve(std::optional<JSONValue> message, Send send);
    [[nodiscard]] Step begin(std::optional<JSONValue> message) const;
    template <typename Send>
    std::optional<Task<void>> proceed(Step step, Send send);
    template <typename Send>
    Task<void> perform(Call call, Backlog::Entry entry, Send send);
    [[nodiscard]] TextBuffer dispatch(const JSONValue& id, std::string_view method,
                                      const JSONValue& params) const;
    [[nodiscard]] const MCPTool& calledTool(const JSONValue& params) const;
    [[nodiscard]] JSONValue initializeResult(const JSONValue& params) const;
    [[nodiscard]] JSONValue toolsListResult() const;

    Actor actor_;
    Backlog backlog_; ///< requests that neither were answered nor have begun their call
    std::map<std::string, MCPTool, std::less<>> tools_; ///< never changes after construction
    std::vector<std::string> order_;                    ///< as the tools were given
    std::optional<std::string> toolsList_; ///< written once; nothing when it has no JSON form
};

} // namespace MCPStdio
