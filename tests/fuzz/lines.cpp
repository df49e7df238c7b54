// Bytes on standard input to lines: compared with the rule, applied to the whole input at once.

#include "MCPStdio/text/UTF8.hpp"
#include "MCPStdio/transport/Descriptor.hpp"
#include "MCPStdio/transport/LineSequence.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace velmiro::fuzz;

std::size_t lengthOfEnd(std::string_view text) {
    constexpr std::array<std::string_view, 7> ends{"\n",       "\v",           "\f",          "\r",
                                                   "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};
    const auto* const found = std::find_if(
        ends.begin(), ends.end(), [&](std::string_view end) { return text.starts_with(end); });
    return found == ends.end() ? 0 : found->size();
}

std::vector<std::string> expectedLines(std::string_view text) {
    std::vector<std::string> lines;
    std::string line;
    const auto finish = [&] {
        if (!line.empty()) {
            lines.push_back(MCPStdio::repairUTF8(line));
            line.clear();
        }
    };
    while (!text.empty()) {
        const std::size_t end = lengthOfEnd(text);
        if (end == 0) {
            line += text.front();
        } else {
            finish();
        }
        text.remove_prefix(std::max<std::size_t>(end, 1));
    }
    finish();
    return lines;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const MCPStdio::Descriptor file{::memfd_create("input", MFD_CLOEXEC)};
    require(::write(file.get(), bytes, size) == static_cast<ssize_t>(size), "the input is written");
    ::lseek(file.get(), 0, SEEK_SET);
    MCPStdio::LineSequence sequence{file.get()};
    std::vector<std::string> lines;
    while (const auto line = sequence.next()) {
        lines.emplace_back(*line);
    }
    require(lines == expectedLines(textOf(bytes, size)), "the lines are those of the rule");
    return 0;
}
