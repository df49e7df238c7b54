#include "velmiro_mcp/services/ScriptRunner.hpp"

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/Continuation.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/ports/OSAScriptPath.hpp"
#include "velmiro_mcp/services/Subprocess.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace velmiro {
namespace {

using MCPStdio::JSONValue;
using MCPStdio::MCPToolError;
using std::chrono::milliseconds;

/// The delay between attempts to start while the system is short of a resource.
constexpr milliseconds retryDelay{10};

[[noreturn]] void failToStart(const std::string& reason) {
    throw MCPToolError{"osascript could not start: " + reason};
}

/// Returns whether the interpreter, which parses its command line with getopt, would take this
/// argument for an option. "-" alone is none.
bool looksLikeOption(const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-';
}

/// Builds the interpreter's command line. The arguments come from the agent and must not become
/// options: a second -e would replace the script. getopt stops at the first argument that is not an
/// option, so only the first one matters.
std::vector<std::string> commandLine(const std::string& interpreter, const std::string& script,
                                     const std::vector<std::string>& arguments) {
    std::vector<std::string> line{interpreter, "-l", "JavaScript", "-e", script};
    if (!arguments.empty() && looksLikeOption(arguments.front())) {
        line.emplace_back("--");
    }
    line.insert(line.end(), arguments.begin(), arguments.end());
    for (const std::string& argument : line) {
        if (argument.find('\0') != std::string::npos) { // it would be cut off there
            failToStart("an argument holds a NUL character");
        }
    }
    return line;
}

/// Returns whether the system is short of a resource that other processes will release.
bool isTransient(const std::error_code& error) {
    constexpr std::array shortages{EAGAIN, EMFILE, ENFILE, ENOMEM};
    return std::ranges::find(shortages, error.value()) != shortages.end();
}

/// Describes an error in words that tell the agent what it can do.
std::string reasonOf(const std::error_code& error) {
    const std::string_view advice =
        error.value() == E2BIG ? ". A text is longer than the system hands to a script: make it "
                                 "shorter than 128 KiB, in UTF-8"
                               : "";
    return error.message().append(advice);
}

Subprocess start(const std::vector<std::string>& line, milliseconds timeout) {
    const auto deadline = Subprocess::Clock::now() + timeout;
    while (true) {
        try {
            return Subprocess{line.front(), line, std::chrono::ceil<std::chrono::seconds>(timeout)};
        } catch (const std::system_error& error) {
            if (!isTransient(error.code()) || Subprocess::Clock::now() >= deadline) {
                failToStart(reasonOf(error.code()));
            }
        }
        std::this_thread::sleep_for(retryDelay);
    }
}

/// Returns the number that an escape such as \ud83d at the beginning of a text stands for; nullopt
/// if there is none.
std::optional<unsigned> escapedUnit(std::string_view text) {
    constexpr std::size_t length = 6;
    if (text.size() < length || !text.starts_with("\\u")) {
        return std::nullopt;
    }
    unsigned unit = 0;
    const char* const end = text.data() + length;
    const auto read = std::from_chars(text.data() + 2, end, unit, 16);
    return read.ptr == end ? std::optional{unit} : std::nullopt;
}

/// Replaces the escapes of lone surrogates by that of U+FFFD. A script that cuts a text off may
/// leave half a character, which JavaScript writes as such an escape.
std::string repairSurrogates(std::string text) {
    const std::string_view view = text;
    for (std::size_t at = 0; (at = text.find('\\', at)) != std::string::npos;) {
        const auto unit = escapedUnit(view.substr(at));
        if (!unit) {
            at += 2;
            continue;
        }
        const auto next = escapedUnit(view.substr(at + 6));
        if (*unit >= 0xD800 && *unit < 0xDC00 && next && *next >= 0xDC00 && *next < 0xE000) {
            at += 12;
            continue;
        }
        if (*unit >= 0xD800 && *unit < 0xE000) {
            text.replace(at + 2, 4, "fffd");
        }
        at += 6;
    }
    return text;
}

std::optional<JSONValue> parsed(std::string_view text) {
    try {
        return JSONValue::parse(text);
    } catch (const MCPStdio::JSONError&) {
        return std::nullopt;
    }
}

JSONValue valueOf(std::string output) {
    const std::string text = MCPStdio::repairUTF8(std::move(output));
    const std::string_view trimmed = trim(text);
    if (auto value = parsed(trimmed)) {
        return *std::move(value);
    }
    return parsed(repairSurrogates(std::string{trimmed})).value_or(trimmed);
}

[[noreturn]] void fail(std::string error) {
    const std::string text = MCPStdio::repairUTF8(std::move(error));
    const std::string_view message = trim(text);
    if (message.find("-1743") != std::string_view::npos ||
        message.find("Not authorized") != std::string_view::npos) {
        throw MCPToolError{"Velmiro may not control this app yet. Ask the user to allow it in "
                           "System Settings › Privacy & Security › Automation."};
    }
    throw MCPToolError{message.empty() ? "the script failed" : std::string{message}};
}

struct Streams {
    std::string output;
    std::string error;
};

/// Reads both streams, one after the other: a script that fills standard error before it has closed
/// its output is ended by the timeout.
Streams readToEnd(Subprocess& process) {
    try {
        std::string output = process.readOutputToEnd();
        return {std::move(output), process.readErrorToEnd()};
    } catch (const std::system_error& error) {
        throw MCPToolError{"what the script wrote cannot be read: " + error.code().message() +
                           ". Whether it changed anything cannot be told: look before trying "
                           "again"};
    }
}

/// Blocks the calling thread until the script has ended.
JSONValue runScript(const std::vector<std::string>& line, milliseconds timeout,
                    Semaphore::Permit& running, Semaphore::Permit& starting) {
    Subprocess process = start(line, timeout);
    starting.release();
    process.terminateAt(Subprocess::Clock::now() + timeout, [&] { running.release(); });
    Streams written = readToEnd(process);
    if (!process.waitUntilExit()) {
        fail(std::move(written.error));
    }
    return valueOf(std::move(written.output));
}

} // namespace

ScriptRunner& ScriptRunner::shared() {
    static auto* const runner = new ScriptRunner{osascriptPath()};
    return *runner;
}

MCPStdio::Task<JSONValue> ScriptRunner::run(std::string script, std::vector<std::string> arguments,
                                            milliseconds timeout) {
    const auto line = commandLine(interpreter_, script, arguments);
    auto acquiringRun = running_.acquire();
    auto running = co_await acquiringRun;
    auto acquiringStart = starting_.acquire();
    auto starting = co_await acquiringStart;
    auto execution =
        MCPStdio::blocking([&] { return runScript(line, timeout, running, starting); });
    auto value = co_await execution;
    co_return value;
}

} // namespace velmiro
