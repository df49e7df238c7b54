#include "osascript/notes/Markdown.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/InlineMarkdown.hpp"
#include "osascript/notes/NoteHTML.hpp"
#include "tests/osascript/notes/RandomTexts.hpp"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What a note in Markdown shows, and how a new one is written.

namespace velmiro::osascript {
namespace {

using Lines = std::vector<std::string>;
using Shown = std::pair<std::string_view, std::string_view>;

NoteText read(std::string_view source) {
    return readNote(source, NoteFormat::markdown);
}

/// Returns the one line of a note, as it is written.
std::string written(const std::string& line) {
    constexpr std::string_view top = "# T\n\n";
    const std::string note = writtenNote({"T", {line}});
    EXPECT_TRUE(note.starts_with(top) && note.ends_with('\n'));
    return note.substr(top.size(), note.size() - top.size() - 1);
}

std::string writtenTitle(const std::string& title) {
    const std::string note = writtenNote({title, {}});
    return note.substr(2, note.size() - 4);
}

TEST(Markdown, ALineShowsItsTextWithoutMarks) {
    const std::vector<Shown> lines{
        {"plain", "plain"},
        {"**bold** *it* _it_ ~~gone~~ ***all***", "bold it it gone all"},
        {"*one **two** three*", "one two three"},
        {"**crossing *runs** end*", "crossing *runs end*"},
        {"snake_case 2*3*4 5 * 6", "snake_case 2*3*4 5 * 6"},
        {"größe_über_alles", "größe_über_alles"},
        {"𠀀_a_𠀀", "𠀀_a_𠀀"},
        {"a ~ b ~~~c~~~ ****d****", "a ~ b ~~~c~~~ ****d****"},
        {"`code *x*` and `` a`b `` and ` ` `", "code *x* and a`b and   `"},
        {"a ` tick and `` two", "a ` tick and `` two"},
        {R"(\*not\* \[a](b) \\ \a)", R"(*not* [a](b) \ \a)"},
        {"&amp; &lt; &#233; &#xE9; &copy; &#0; &#xD800;", "& < é é &copy; \uFFFD \uFFFD"},
        {"<https://x.example> <MAILTO:a@b> <b>", "https://x.example MAILTO:a@b <b>"},
        {"[a *b*](https://x 'title') ![image](i.png)", "a b image"},
        {"[a](<x y>) [b](c) [d](e f) [g][h] [i](j", "a b [d](e f) [g][h] [i](j"},
        {"[![alt](image)](link)", "alt"},
        {"[see ![a](b) and ![c](d)](e)", "see a and c"},
        {"[see ![a](b](e) [x ![y] z](w)", "[see ![a](b](e) [x ![y] z](w)"},
        {"[see ![a](b)", "[see a"},
        {"[a [b](c)](d)", "[a b](d)"},
        {"# One", "One"},
        {"   ###### Six ##", "Six"},
        {"####### seven", "####### seven"},
        {"    # code", "    # code"},
        {"#tag", "#tag"},
        {"#", ""},
        {"* item", "- item"},
        {"  + [ ] item", "  - [ ] item"},
        {"- item", "- item"},
        {"1. item", "1. item"},
        {"> quote | table |", "> quote | table |"},
    };
    for (const auto& [line, shown] : lines) {
        EXPECT_EQ(shownLine(line), shown) << line;
    }
}

TEST(Markdown, TheTitleIsTheFirstHeadingOrLine) {
    EXPECT_EQ(read("# *A* title #\n\none\ntwo\n"), (NoteText{"A title", {"one", "two"}}));
    EXPECT_EQ(read("# A\n\n\none"), (NoteText{"A", {"", "one"}}));
    EXPECT_EQ(read("\n  - first \n\nsecond\n"), (NoteText{"- first", {"", "second"}}));
    EXPECT_EQ(read("## Two\nx"), (NoteText{"Two", {"x"}}));
    EXPECT_EQ(read("#\n\nx"), (NoteText{"x"}));
    EXPECT_EQ(read("\uFEFF# A\r\n\r\nb\r\n"), (NoteText{"A", {"b"}}));
    EXPECT_EQ(read("a\r"), (NoteText{"a"}));
    EXPECT_EQ(read(""), NoteText{});
    EXPECT_EQ(read("\n \u00A0\n"), NoteText{});
}

TEST(Markdown, FencedCodeIsShownLineByLine) {
    EXPECT_EQ(read("# A\n\n```js\n*x*\n# y\n~~~\n```\n*z*\n"),
              (NoteText{"A", {"*x*", "# y", "~~~", "z"}}));
    EXPECT_EQ(read("# A\n~~~~\n~~~\n~~~~~\nb"), (NoteText{"A", {"~~~", "b"}}));
    EXPECT_EQ(read("# A\n```\nopen *to* the end"), (NoteText{"A", {"open *to* the end"}}));
    EXPECT_EQ(read("# A\n```a`b```"), (NoteText{"A", {"a`b"}}));
}

TEST(Markdown, SettingsOnTopComeAfterTheText) {
    EXPECT_EQ(read("---\ntags: [a, b]\ntitle: *x*\n---\n# A\n\none\n"),
              (NoteText{"A", {"one", "", "tags: [a, b]", "title: *x*"}}));
    EXPECT_EQ(read("---\r\ntags: a\r\n---\r\ntext"), (NoteText{"text", {"", "tags: a"}}));
    EXPECT_EQ(read("---\ntags: a\n---\n"), (NoteText{"", {"tags: a"}}));
    EXPECT_EQ(read("---\ntags: a\n---\n").whole(), "tags: a");
    EXPECT_EQ(readNote("---\ntags: a\n---\ntext", NoteFormat::plain),
              (NoteText{"text", {"", "tags: a"}}));
    for (const auto* const source :
         {"---\nno settings\n---\nx", "---\ntags: a\nx", "---", "a\n---\nb: c\n---"}) {
        EXPECT_EQ(read(source).whole(), source);
    }
}

TEST(Markdown, SettingsAreFoundAsProgramsWriteThem) {
    for (const std::string settings :
         {"date created: 2026", "\"title\": x", "'title': x", "título: x", "标题: x", "tags:",
          "date created: x\ntags:\n- a\n  - b\n\n# c\nkey: [\n  a,\n]", "my key:\n  a: b"}) {
        const std::string source = "---\n" + settings + "\n---\n# A\n";
        EXPECT_EQ(read(source).whole(), "A\n\n" + settings) << settings;
    }
    EXPECT_EQ(read("--- \ntags: a\n---\t \n# A\n").whole(), "A\n\ntags: a");
    EXPECT_EQ(read("---\n\n# of 2026\ntags: a\n---\n# A\n").whole(), "A\n\n\n# of 2026\ntags: a");
    EXPECT_EQ(read("---\n---\n# A\n"), NoteText{"A"});
    EXPECT_EQ(read("--- \n\n---\n# A\nb"), (NoteText{"A", {"b"}}));
}

TEST(Markdown, ProseAfterARuleIsNoSetting) {
    for (const auto* const source :
         {"---\nDear all: welcome.\nBring a cake.\n---\nx", "---\nWell, he said: no\n---\nx",
          "---\nsee http://x\n---\nx", "---\n# Title\n\nprose\n---\nx", "---\n- a: b\n---\nx",
          "---\n# Title\n---\nx", "---\nDear all: welcome.", " ---\na b: c\n---\nx",
          "---\n: a\n---\nx", "---\n\nprose\n\nDate: today\n---\nx", "----\na: b\n----\nx"}) {
        EXPECT_TRUE(read(source).title.starts_with("---")) << source;
    }
    // A lone line that could be either is one, and no text is lost.
    EXPECT_EQ(read("---\nDear all: welcome.\n---\nx").whole(), "x\n\nDear all: welcome.");
}

TEST(Markdown, APlainFileHasMarksOnlyInItsTitle) {
    EXPECT_EQ(readNote("# *A*\n\n*b*\n```\n# c", NoteFormat::plain),
              (NoteText{"A", {"*b*", "```", "# c"}}));
    EXPECT_EQ(readNote("*A*\nb", NoteFormat::plain), (NoteText{"*A*", {"b"}}));
}

TEST(MarkdownWriting, EscapesOnlyWhatWouldBeAMark) {
    const std::vector<Shown> lines{
        {R"(& "quotes")", R"(& "quotes")"},
        {R"(<b> & "quotes")", R"(\<b> & "quotes")"},
        {"- milk", "- milk"},
        {"1 < 2 & 3 > 2 #4 2*3*4 snake_case", "1 < 2 & 3 > 2 #4 2*3*4 snake_case"},
        {"*a* 2 * 3", R"(\*a\* 2 * 3)"},
        {"**a** _b_c", R"(\*\*a\*\* _b_c)"},
        {"`a` & `b", R"(\`a\` & `b)"},
        {"[x](y) [z]", R"(\[x](y) [z])"},
        {"[![x](y)](z)", R"(\[!\[x](y)](z))"},
        {"&amp; & &#65;", R"(\&amp; & \&#65;)"},
        {R"(a\d \* \\)", R"(a\d \\* \\\)"},
        {"<https://x> a<b", R"(\<https://x> a\<b)"},
        {"# x & y", R"(\# x & y)"},
        {"  + x", R"(  \+ x)"},
        {"---", R"(\---)"},
        {"* * *", R"(\* * *)"},
        {"==", R"(\==)"},
        {"```js", R"(\```js)"},
        {"a\r*b*", R"(a&#13;\*b\*)"},
        {"\\\r", R"(\\&#13;)"},
        {"*a\r*", R"(\*a&#13;\*)"},
        {"", ""},
    };
    for (const auto& [line, expected] : lines) {
        EXPECT_EQ(written(std::string{line}), expected) << line;
    }
}

TEST(MarkdownWriting, EscapesTitles) {
    EXPECT_EQ(writtenTitle("Shopping & <more>"), R"(Shopping & \<more>)");
    EXPECT_EQ(writtenTitle("C #"), R"(C \#)");
    EXPECT_EQ(writtenTitle("C#"), "C#");
    EXPECT_EQ(writtenTitle("##"), R"(\##)");
    EXPECT_EQ(writtenTitle("# x"), "# x");
    EXPECT_EQ(writtenTitle("- *x*"), R"(- \*x\*)");
    EXPECT_EQ(writtenTitle(" a\t"), "&#32;a&#9;");
    EXPECT_EQ(writtenTitle("a\nb"), "a&#10;b");
    EXPECT_EQ(writtenTitle("a\\ "), R"(a\\&#32;)");
}

TEST(MarkdownWriting, AnyNoteComesBackAsItWasGiven) {
    RandomTexts texts{3};
    for (int round = 0; round < 20'000; ++round) {
        const NoteText note{texts.text(12) + "T" + texts.text(3), {texts.text(12), texts.text(4)}};
        ASSERT_EQ(linesOfHTML(noteHTML(note.title, note.lines)),
                  (Lines{note.title, note.lines[0], note.lines[1]}));
        ASSERT_EQ(read(writtenNote(note)), note) << writtenNote(note);
    }
}

TEST(MarkdownWriting, LeavesALineThatShowsItself) {
    RandomTexts texts{4};
    int same = 0;
    for (int round = 0; round < 20'000; ++round) {
        const std::string line = texts.text(6);
        const bool isOthersMark = line.find('<') != std::string::npos ||
                                  line.find('\r') != std::string::npos ||
                                  line.find_first_not_of("=-*_ \t") == std::string::npos;
        if (!isOthersMark && read("# T\n\n" + line + "\n") == NoteText{"T", {line}}) {
            ASSERT_EQ(written(line), line);
            ++same;
        }
    }
    EXPECT_GT(same, 5'000);
}

TEST(Markdown, LinesMadeToExhaustAreReadInTime) {
    constexpr std::size_t length = 500'000;
    const auto start = std::chrono::steady_clock::now();
    for (const std::string_view part : {"*a ", "_a ",    "**a *b ",  "[a](",      "`a``",
                                        "<a ", "<http:", "&#",       "\\",        "# ",
                                        "- ",  "![",     "[![",      "[![a](b)",  "~~",
                                        " ",   "\"",     "[a](b \"", "[a](b '\"", "a\u00E9_"}) {
        std::string line = "x";
        while (line.size() < length) {
            line += part;
        }
        read("# " + line + "\n\n" + line + "\n");
        const NoteText note{"T", {line.substr(0, length / 10) + "x"}};
        EXPECT_EQ(read(writtenNote(note)), note) << part;
    }
    std::string ticks; // each run of another length, none of which has a partner
    for (std::size_t count = 1; ticks.size() < length; ++count) {
        ticks.append(count, '`').append("a");
    }
    EXPECT_EQ(shownLine("x" + ticks), "x" + ticks);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds{30});
}

TEST(NoteHTML, EachBlockIsALine) {
    EXPECT_EQ(linesOfHTML("<div><h1>T</h1></div><div>a &amp; <b>b</b></div><div><br></div>"),
              (Lines{"T", "a & b", ""}));
    EXPECT_EQ(linesOfHTML("a<br>b<BR/>c<p class=\"x\"> d </p>\n<ul><li>e</li>\n</ul>"),
              (Lines{"a", "b", "c", " d ", "e"}));
    EXPECT_EQ(linesOfHTML("<div> </div> <div></div>"), Lines{" "});
    EXPECT_EQ(linesOfHTML("1 < 2 &copy; &#65;&#x42;&nbsp;<3 </ <div"),
              Lines{"1 < 2 &copy; AB\u00A0<3 </ <div"});
    EXPECT_EQ(linesOfHTML(""), Lines{});
}

TEST(NoteHTML, ShowsATitleAndLines) {
    EXPECT_EQ(noteHTML("a<b", {"x & y", ""}),
              "<div><h1>a&lt;b</h1></div><div>x &amp; y</div><div><br></div>");
}

} // namespace
} // namespace velmiro::osascript
