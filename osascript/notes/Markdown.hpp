#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Between a Markdown file and the text that Notes would show for it.
///
/// Headings are shown by their text, list bullets as `-`, and fenced code line by line without the
/// fences; InlineMarkdown.hpp says what is shown of the rest of a line. Check boxes, numbers,
/// indentation, quotes, tables, rules and HTML stay. Settings that some programs keep on top,
/// between lines of `---`, come after the text, where a reader of a note's beginning does not meet
/// them.
namespace velmiro::osascript {

struct NoteText {
    std::string title; ///< empty if the file shows no text
    std::vector<std::string> lines = {};

    /// Returns the title and the lines as one text.
    [[nodiscard]] std::string whole() const;

    friend bool operator==(const NoteText&, const NoteText&) = default;
};

enum class NoteFormat {
    markdown,
    plain, ///< only the mark of a first line `# Title` is interpreted
};

/// Returns what a file shows. `source` is well-formed UTF-8.
NoteText readNote(std::string_view source, NoteFormat format);

/// Returns a Markdown file that shows just this. Lines that would show something else, or that
/// other programs would take for a tag, a rule or the line under a heading, get backslashes.
std::string writtenNote(const NoteText& note);

// For one line, outside of fenced code.

/// Returns the index of the mark that makes it a heading, an item of a list (other than `-`) or a
/// fence; npos if it is none.
std::size_t blockMark(std::string_view line);

/// Returns what it shows.
std::string shownLine(std::string_view line);

/// Returns what the content of a heading shows, which comes after its `#` and a blank.
std::string shownHeading(std::string_view content);

} // namespace velmiro::osascript
