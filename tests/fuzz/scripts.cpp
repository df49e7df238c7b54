// What a script prints: JSON is a value, anything else a text, and what a failed script says is
// the error. The first byte of an input is the exit status, the rest what is printed.

#include "MCPStdio/MCPTool.hpp"
#include "MCPStdio/concurrency/SyncWait.hpp"
#include "MCPStdio/json/JSONReader.hpp"
#include "MCPStdio/text/UTF8.hpp"
#include "tests/fuzz/Fuzz.hpp"
#include "velmiro_mcp/base/Text.hpp"
#include "velmiro_mcp/services/ScriptRunner.hpp"

#include <fstream>
#include <string>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace velmiro;
using fuzz::require;
using MCPStdio::JSONValue;

/// An interpreter that prints a file, and ends as the script says.
class Interpreter {
public:
    Interpreter() {
        std::ofstream{path_} << "#!/bin/sh\n"
                                "if [ \"$4\" = 0 ]; then exec cat -- \"$5\"; fi\n"
                                "cat -- \"$5\" >&2\nexit \"$4\"\n";
        require(::chmod(path_.c_str(), S_IRWXU) == 0, "the interpreter can be run");
    }
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;
    ~Interpreter() {
        ::unlink(path_.c_str());
        ::unlink(printed_.c_str());
    }

    /// Runs a script that prints these bytes.
    JSONValue run(int status, std::string_view bytes) {
        std::ofstream{printed_, std::ios::binary} << bytes;
        auto task = runner_.run(std::to_string(status), {printed_}, std::chrono::seconds{5});
        return MCPStdio::syncWait(std::move(task));
    }

private:
    std::string path_ = "/tmp/fuzz-interpreter-" + std::to_string(::getpid());
    std::string printed_ = path_ + "-prints";
    ScriptRunner runner_{path_};
};

/// What is no JSON is returned as it is, unless all that is wrong are halves of characters.
bool isWhatWasPrinted(const JSONValue& value, std::string_view text) {
    try {
        return value == JSONValue::parse(text);
    } catch (const MCPStdio::JSONError&) {
        const bool hasSurrogates = text.find("\\ud") != std::string_view::npos ||
                                   text.find("\\uD") != std::string_view::npos;
        return value == JSONValue{text} || (hasSurrogates && value.stringValue() != text);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static Interpreter interpreter;
    if (size == 0) {
        return 0;
    }
    const int status = *bytes % 2;
    const auto printed = fuzz::textOf(bytes + 1, size - 1);
    const std::string text = MCPStdio::repairUTF8(std::string{printed});
    try {
        require(isWhatWasPrinted(interpreter.run(status, printed), trim(text)),
                "the value is what was printed");
        require(status == 0, "a failed script is an error");
    } catch (const MCPStdio::MCPToolError& error) {
        require(status != 0, "a script that succeeds is no error");
        const std::string_view said = error.message; // what() would end at a NUL
        require(!said.empty() && MCPStdio::isValidUTF8(said), "an error says something");
        require(said == trim(text) || trim(text).empty() || said.starts_with("Velmiro may not"),
                "an error says what the script said");
    }
    return 0;
}
