#include "osascript/notes/WordSieve.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/Markdown.hpp"
#include "osascript/text/Folding.hpp"
#include "tests/osascript/notes/RandomTexts.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

// A note that shows the words is never ruled out; most others are.

namespace velmiro::osascript {
namespace {

bool mayShow(std::string_view bytes, std::string_view words) {
    return WordSieve{folded(words)}.mayShow(bytes);
}

bool shows(const std::string& bytes, std::string_view words, NoteFormat format) {
    const auto note = readNote(MCPStdio::repairUTF8(bytes), format);
    return folded(note.whole()).find(folded(words)) != std::string::npos;
}

TEST(WordSieve, NeverRulesOutANoteThatShowsTheWords) {
    RandomTexts texts{1};
    int shown = 0;
    for (int round = 0; round < 20'000; ++round) {
        const std::string file = texts.file();
        const auto format = texts.below(5) == 0 ? NoteFormat::plain : NoteFormat::markdown;
        const auto note = readNote(MCPStdio::repairUTF8(file), format);
        for (int query = 0; query < 3; ++query) {
            std::string words = texts.partOf(note.whole(), 12);
            if (query == 1) {
                words = folded(words);
            } else if (query == 2) {
                words = texts.text(3);
            }
            if (shows(file, words, format)) {
                ++shown;
                ASSERT_TRUE(mayShow(file, words)) << words << "\nin\n" << file;
            }
        }
    }
    EXPECT_GT(shown, 30'000);
}

TEST(WordSieve, NeverRulesOutLongWords) {
    RandomTexts texts{2};
    int shown = 0;
    for (int round = 0; round < 5'000; ++round) {
        const std::string file = texts.text(120);
        const auto note = readNote(MCPStdio::repairUTF8(file), NoteFormat::markdown);
        const std::string words = texts.partOf(note.whole(), 200);
        if (shows(file, words, NoteFormat::markdown)) {
            ++shown;
            ASSERT_TRUE(mayShow(file, words)) << words << "\nin\n" << file;
        }
    }
    EXPECT_GT(shown, 4'000);
}

TEST(WordSieve, RulesOutNotesWithoutTheWords) {
    constexpr std::array notes = std::to_array<std::string_view>({
        "",
        "# A title\n\nplain text & more, 1 < 2 (in brackets)\n",
        "*quarter* of the main\n",
        "quarter\nmaine\n",
        "Größe, Ärger, Straße, naïve café; кварта; 四分の一\n",
        "[a link](https://example.org/a?b=c&d=e) and ![an image](i.png)\n",
        "&amp; &lt; &#32; &#x26;\n",
        "\xFF\xFE\x80 q\n",
    });
    for (const auto note : notes) {
        EXPECT_FALSE(mayShow(note, "Quartermaine")) << note;
        EXPECT_FALSE(mayShow(note, "Größenwahn")) << note;
        EXPECT_FALSE(mayShow(note, "москва")) << note;
    }
}

TEST(WordSieve, KeepsNotesWhoseMarksHideTheWords) {
    constexpr std::array notes = std::to_array<std::string_view>({
        "QUARTERMAINE",
        "x **Quarter**maine",
        "Quar\\termaine",
        "[Quarter](https://x.example/y(z) \"t)\")maine",
        "[![Quarter](a)](b)maine",
        "[Quarter](<x](y)>)maine",
        "Quarterm&#97;ine",
        "Quarterma\xC3\xADne",
        "\xEF\xBC\xB1uartermaine",
        "`Quarter` maine",
        "--\nQuartermaine",
    });
    for (const auto note : notes) {
        EXPECT_TRUE(mayShow(note, "quartermaine")) << note;
    }
    EXPECT_TRUE(mayShow("anything", "*"));
    EXPECT_TRUE(mayShow("anything", ""));
    EXPECT_TRUE(mayShow("one\ntwo", "one\ntwo"));
}

} // namespace
} // namespace velmiro::osascript
