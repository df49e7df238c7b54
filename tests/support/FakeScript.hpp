#pragma once

#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/json/JSONValue.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <chrono>
#include <initializer_list>
#include <string>
#include <string_view>

namespace velmiro::test {

/// Returns a script for fake_osascript from its steps, each a word and, after a space, its text.
inline std::string steps(std::initializer_list<std::string_view> list) {
    std::string script;
    for (const std::string_view step : list) {
        script += script.empty() ? "" : "\x1e";
        script += step;
    }
    return script;
}

/// Time for a script that has to end by itself, also on a busy machine.
inline constexpr std::chrono::seconds ample{60};

/// Runs a script without arguments and returns its result.
inline MCPStdio::JSONValue run(ScriptRunner& runner, const std::string& script) {
    return MCPStdio::syncWait(runner.run(script, {}, ample));
}

} // namespace velmiro::test
