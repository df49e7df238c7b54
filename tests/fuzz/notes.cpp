// Files of notes: what is shown can be written so that it is shown again, and a search rules out no
// note that shows the words. The first line of an input is what is searched for.

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/Markdown.hpp"
#include "osascript/notes/WordSieve.hpp"
#include "osascript/text/Folding.hpp"
#include "tests/fuzz/Fuzz.hpp"

#include <string>

namespace {

using namespace velmiro;
using namespace velmiro::osascript;
using fuzz::require;

void search(std::string_view bytes, const NoteText& note, std::string_view words) {
    if (folded(note.whole()).find(folded(words)) != std::string::npos) {
        require(WordSieve{folded(words)}.mayShow(bytes), "a note that shows the words is found");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view input = fuzz::textOf(bytes, size);
    const std::size_t lineEnd = std::min(input.find('\n'), input.size());
    const std::string words = MCPStdio::repairUTF8(std::string{input.substr(0, lineEnd)});
    const std::string_view file = input.substr(std::min(lineEnd + 1, input.size()));
    const std::string source = MCPStdio::repairUTF8(std::string{file});

    const NoteText shown = readNote(source, NoteFormat::markdown);
    search(file, shown, words);
    search(file, readNote(source, NoteFormat::plain), words);
    if (!shown.title.empty()) {
        const NoteText again = readNote(writtenNote(shown), NoteFormat::markdown);
        require(again == shown, "a note that is written shows what was given");
    }
    return 0;
}
