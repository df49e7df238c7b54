#pragma once

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Task.hpp"
#include "MCPStdio/json/JSONCoding.hpp"
#include "MCPStdio/json/JSONSchema.hpp"

#include <concepts>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

/// Tools whose arguments and results are application types:
///
///     struct Numbers {
///         std::vector<double> numbers;
///
///         static constexpr auto jsonFields() {
///             return std::tuple{field("numbers", &Numbers::numbers, "what to add up")};
///         }
///     };
///
///     Task<Sum> add(Numbers given);
///
///     const MCPTool tool = typedTool("add", "Add numbers.", true, add);
namespace MCPStdio {

/// What a typed handler may return: a type that lists its fields or a JSONValue, which the agent
/// receives as pretty-printed JSON; or a result, which it receives as it is.
template <typename Type>
concept ToolOutput =
    HasJSONFields<Type> || std::same_as<Type, JSONValue> || std::same_as<Type, MCPToolResult>;

/// The arguments of a tool that takes none.
struct NoArguments {
    static constexpr auto jsonFields() { return std::tuple{}; }
};

namespace detail {

template <typename Arguments, typename Output>
using TypedHandler = std::function<Task<Output>(Arguments)>;

/// Shares the handler, so that its captures live until its coroutine has ended.
template <typename Arguments, typename Output>
Task<MCPToolResult> callTyped(std::shared_ptr<const TypedHandler<Arguments, Output>> handler,
                              JSONValue arguments) {
    Task<Output> call = (*handler)(arguments.decode<Arguments>());
    Output output = co_await std::move(call);
    if constexpr (std::same_as<Output, MCPToolResult>) {
        co_return output;
    } else {
        co_return MCPToolResult::json(output);
    }
}

template <HasJSONFields Arguments, ToolOutput Output>
MCPTool typedTool(std::string name, std::string description, bool readOnly,
                  TypedHandler<Arguments, Output> handler) {
    const auto shared = std::make_shared<const TypedHandler<Arguments, Output>>(std::move(handler));
    return {std::move(name), std::move(description), jsonSchema<Arguments>(), readOnly,
            [shared](JSONValue arguments) {
                return callTyped<Arguments, Output>(shared, std::move(arguments));
            }};
}

} // namespace detail

/// Returns a tool with the schema of its handler's arguments. `handler` is a function or function
/// object `Task<Output>(Arguments)`, which takes its arguments by value; calls may overlap, on any
/// thread. It may be a coroutine with captures: they live until its last call has ended. Arguments
/// that do not fit fail the call before the handler runs, with a text that names the member. The
/// handler itself fails as any other does (see ToolHandler).
template <typename Handler>
MCPTool typedTool(std::string name, std::string description, bool readOnly, Handler handler) {
    return detail::typedTool(std::move(name), std::move(description), readOnly,
                             std::function{std::move(handler)});
}

} // namespace MCPStdio
