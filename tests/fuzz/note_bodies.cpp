// The HTML that scripts give as the body of a note: lines come back as they were put in.

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/NoteHTML.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace velmiro;
using fuzz::require;

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text = MCPStdio::repairUTF8(std::string{fuzz::textOf(bytes, size)});
    for (const std::string& line : osascript::linesOfHTML(text)) {
        require(MCPStdio::isValidUTF8(line), "a line is UTF-8");
    }
    const auto lines = linesOf(text);
    auto expected = lines;
    expected.insert(expected.begin(), "Title");
    require(osascript::linesOfHTML(osascript::noteHTML("Title", lines)) == expected,
            "lines come back as they were put in");
    return 0;
}
