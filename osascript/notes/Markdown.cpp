#include "osascript/notes/Markdown.hpp"

#include "osascript/notes/InlineMarkdown.hpp"
#include "osascript/text/CharacterKinds.hpp"

#include <algorithm>
#include <optional>

namespace velmiro::osascript {
namespace {

using Lines = std::vector<std::string_view>;

constexpr std::string_view blanks = " \t";
constexpr std::size_t deepestHeading = 6;

/// Returns the lines between line feeds, without a carriage return before one.
Lines linesIn(std::string_view source) {
    Lines lines;
    for (;;) {
        const std::size_t end = source.find('\n');
        std::string_view line = source.substr(0, end);
        if (end == std::string_view::npos) {
            if (!line.empty()) {
                lines.push_back(line);
            }
            return lines;
        }
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        lines.push_back(line);
        source.remove_prefix(end + 1);
    }
}

std::string_view withoutAtEnd(std::string_view text, std::string_view characters) {
    return text.substr(0, text.find_last_not_of(characters) + 1);
}

std::string_view withoutAtFront(std::string_view text, std::string_view characters) {
    return text.substr(std::min(text.find_first_not_of(characters), text.size()));
}

bool isNameLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_' || letter == '-';
}

/// Returns whether the line is a setting with a simple name: `name:`.
bool isPlainSetting(std::string_view line) {
    const std::size_t colon = line.find(':');
    return colon != std::string_view::npos && colon > 0 &&
           std::ranges::all_of(line.substr(0, colon), isNameLetter);
}

bool mayBeInName(char letter) {
    return isNameLetter(letter) || letter == ' ' || letter == '"' || letter == '\'' ||
           static_cast<unsigned char>(letter) >= 0x80;
}

/// Returns whether the line is a setting. If its name is of several words, in quotes or beyond
/// ASCII, it is one only with a blank after the colon.
bool isSetting(std::string_view line) {
    if (isPlainSetting(line)) {
        return true;
    }
    const std::size_t colon = std::min(line.find(':'), line.size());
    const auto name = line.substr(0, colon);
    const auto end = line.substr(colon, 2);
    return (end == ":" || end == ": " || end == ":\t") && std::ranges::all_of(name, mayBeInName) &&
           (name.starts_with('"') || name.starts_with('\'') || beginsWithLetter(name));
}

bool isBlankOrComment(std::string_view line) {
    return isBlank(line) || line.starts_with('#');
}

/// Returns whether a line between settings may belong to one: indented, an item or a bracket.
bool mayContinueSetting(std::string_view line) {
    constexpr std::string_view beginnings = " \t-]}";
    return !line.empty() && beginnings.find(line.front()) != std::string_view::npos;
}

/// Returns whether lines between marks are settings. A rule and prose on top of a note look much
/// like them, so only if the first line is a plain setting does it decide alone.
bool areSettings(const Lines& lines) {
    if (std::ranges::all_of(lines, isBlank) || isPlainSetting(lines.front())) {
        return true;
    }
    const auto first = std::ranges::find_if_not(lines, isBlankOrComment);
    return first != lines.end() && isSetting(*first) &&
           std::all_of(first, lines.end(), [](std::string_view line) {
               return isSetting(line) || isBlankOrComment(line) || mayContinueSetting(line);
           });
}

bool isFrontMatterMark(std::string_view line) {
    return withoutAtEnd(line, blanks) == "---";
}

/// Removes the settings on top of a file, with their marks, and returns them.
Lines takeFrontMatter(Lines& lines) {
    if (lines.empty() || !isFrontMatterMark(lines[0])) {
        return {};
    }
    const auto end = std::find_if(lines.begin() + 1, lines.end(), isFrontMatterMark);
    Lines settings{lines.begin() + 1, end};
    if (end == lines.end() || !areSettings(settings)) {
        return {};
    }
    lines.erase(lines.begin(), end + 1);
    if (std::ranges::all_of(settings, isBlank)) {
        settings.clear();
    }
    return settings;
}

/// Returns a line without the blanks that may come before the mark of a block; nullopt if there are
/// more.
std::optional<std::string_view> withoutIndent(std::string_view line) {
    constexpr std::size_t most = 3;
    const auto rest = withoutAtFront(line, " ");
    return line.size() - rest.size() <= most ? std::optional{rest} : std::nullopt;
}

/// Returns the run of backticks or tildes of a fence; empty for any other line.
std::string_view fenceMark(std::string_view line) {
    const auto rest = withoutIndent(line);
    if (!rest || (!rest->starts_with("```") && !rest->starts_with("~~~"))) {
        return {};
    }
    const char mark = rest->front();
    const auto run = rest->substr(0, rest->find_first_not_of(mark));
    const bool isCode = mark == '`' && rest->find('`', run.size()) != std::string_view::npos;
    return isCode ? std::string_view{} : run;
}

/// Returns the content of a heading with at most `deepest` marks; nullopt if the line is none.
std::optional<std::string_view> headingContent(std::string_view line, std::size_t deepest) {
    const auto rest = withoutIndent(line);
    if (!rest || !rest->starts_with('#')) {
        return std::nullopt;
    }
    const auto content = withoutAtFront(*rest, "#");
    const bool isHeading =
        rest->size() - content.size() <= deepest &&
        (content.empty() || blanks.find(content.front()) != std::string_view::npos);
    return isHeading ? std::optional{content} : std::nullopt;
}

/// Returns what comes after the bullet of an item that is shown with another one; nullopt for any
/// other line.
std::optional<std::string_view> itemText(std::string_view line) {
    const auto item = withoutAtFront(line, blanks);
    const bool isItem = (item.starts_with('*') || item.starts_with('+')) &&
                        (item.size() == 1 || blanks.find(item[1]) != std::string_view::npos);
    return isItem ? std::optional{item.substr(1)} : std::nullopt;
}

std::vector<std::string> copied(const Lines& lines) {
    return {lines.begin(), lines.end()};
}

/// Returns what the lines of a Markdown file show.
std::vector<std::string> shownLines(const Lines& lines) {
    std::vector<std::string> shown;
    shown.reserve(lines.size());
    std::string_view open; // the fence of the code that the line is in
    for (const std::string_view line : lines) {
        const auto mark = fenceMark(line);
        if (open.empty() && mark.empty()) {
            shown.push_back(shownLine(line));
        } else if (open.empty()) {
            open = mark;
        } else if (mark.starts_with(open) && trimmed(line) == mark) {
            open = {};
        } else {
            shown.emplace_back(line);
        }
    }
    return shown;
}

std::vector<std::string> shownLines(const Lines& lines, NoteFormat format) {
    return format == NoteFormat::markdown ? shownLines(lines) : copied(lines);
}

/// Returns what lines without settings show.
NoteText shownText(const Lines& lines, NoteFormat format) {
    const auto content = lines.empty() ? std::nullopt : headingContent(lines[0], 1);
    if (std::string title = content ? shownHeading(*content) : ""; !title.empty()) {
        const std::ptrdiff_t top = lines.size() > 1 && lines[1].empty() ? 2 : 1;
        return {std::move(title), shownLines({lines.begin() + top, lines.end()}, format)};
    }
    auto shown = shownLines(lines, format);
    const auto first = std::ranges::find_if_not(shown, isBlank);
    if (first == shown.end()) {
        return {};
    }
    std::string title{trimmed(*first)};
    shown.erase(shown.begin(), first + 1);
    return {std::move(title), std::move(shown)};
}

} // namespace

std::string NoteText::whole() const {
    std::string text = title;
    for (const std::string& line : lines) {
        if (!text.empty() || &line != &lines.front()) {
            text += '\n';
        }
        text += line;
    }
    return text;
}

NoteText readNote(std::string_view source, NoteFormat format) {
    constexpr std::string_view byteOrderMark = "\uFEFF";
    if (source.starts_with(byteOrderMark)) {
        source.remove_prefix(byteOrderMark.size());
    }
    Lines lines = linesIn(source);
    const Lines settings = takeFrontMatter(lines);
    NoteText note = shownText(lines, format);
    if (!settings.empty() && !note.title.empty()) {
        note.lines.emplace_back();
    }
    note.lines.insert(note.lines.end(), settings.begin(), settings.end());
    return note;
}

std::size_t blockMark(std::string_view line) {
    const bool isBlock =
        headingContent(line, deepestHeading) || itemText(line) || !fenceMark(line).empty();
    return isBlock ? line.find_first_not_of(blanks) : std::string_view::npos;
}

std::string shownHeading(std::string_view content) {
    const auto opened = withoutAtEnd(withoutAtFront(content, blanks), blanks);
    const auto closed = withoutAtEnd(opened, "#");
    const bool isClosed = closed.empty() || blanks.find(closed.back()) != std::string_view::npos;
    std::string shown;
    appendShown(shown, isClosed ? withoutAtEnd(closed, blanks) : opened);
    return shown;
}

std::string shownLine(std::string_view line) {
    if (const auto content = headingContent(line, deepestHeading)) {
        return shownHeading(*content);
    }
    std::string shown;
    if (const auto text = itemText(line)) {
        shown.append(line.substr(0, line.find_first_not_of(blanks))).append("-");
        appendShown(shown, *text);
    } else {
        appendShown(shown, line);
    }
    return shown;
}

} // namespace velmiro::osascript
