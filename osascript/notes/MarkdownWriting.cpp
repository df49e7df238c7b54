#include "osascript/notes/InlineMarkdown.hpp"
#include "osascript/notes/Markdown.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

// A line is written as it is if it shows itself. Otherwise its marks are found by reading it, and
// get backslashes; as text between two marks may be a mark once these are gone, it is read again
// until it shows itself.

namespace velmiro::osascript {
namespace {

constexpr std::string_view blanks = " \t";
constexpr auto none = std::string_view::npos;

/// Returns whether a character in a line is a line end, which needs a reference.
bool isLineEnd(char letter) {
    return letter == '\r' || letter == '\n';
}

/// Returns whether other programs take the `<` at an index for the beginning of a tag.
bool beginsTag(std::string_view text, std::size_t at) {
    const char next = at + 1 < text.size() ? text[at + 1] : ' ';
    return text[at] == '<' && ((next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z') ||
                               next == '/' || next == '!' || next == '?');
}

/// Returns whether other programs take the line for a rule or for the line under a heading.
bool isRule(std::string_view line) {
    const std::size_t first = line.find_first_not_of(blanks);
    if (first == none) {
        return false;
    }
    const char mark = line[first];
    const auto count = std::ranges::count(line, mark);
    const auto others = std::ranges::count_if(
        line, [mark](char letter) { return letter != mark && blanks.find(letter) == none; });
    const auto least = mark == '=' ? 1 : mark == '-' ? 2 : mark == '*' || mark == '_' ? 3 : none;
    return others == 0 && static_cast<std::size_t>(count) >= least;
}

/// A line that gets backslashes and references.
class Draft {
public:
    explicit Draft(std::string_view text) : text_{text}, changes_(text.size(), Change::unchanged) {
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (isLineEnd(text[at])) {
                changes_[at] = Change::reference;
            }
        }
    }

    /// Returns whether the character was not escaped before.
    bool escape(std::size_t at) {
        const bool isNew = changes_[at] == Change::unchanged;
        changes_[at] = isNew ? Change::backslash : changes_[at];
        return isNew;
    }

    void refer(std::size_t at) { changes_[at] = Change::reference; }

    void escapeTags() {
        for (std::size_t at = 0; at < text_.size(); ++at) {
            if (beginsTag(text_, at)) {
                escape(at);
            }
        }
    }

    /// Escapes the backslashes before what a backslash changes.
    void escapeBackslashes() {
        for (std::size_t at = 0; at + 1 < text_.size(); ++at) {
            const bool changesNext =
                isEscapable(text_[at + 1]) || changes_[at + 1] == Change::reference;
            if (text_[at] == '\\' && changesNext) {
                escape(at);
            }
        }
    }

    void escapeAll() {
        constexpr std::string_view all = "\\`*_~[]<&";
        for (std::size_t at = text_.find_first_of(all); at != none;
             at = text_.find_first_of(all, at + 1)) {
            escape(at);
        }
    }

    /// Returns the Markdown, and for each of its bytes the index of the character that it is, or
    /// none if it was added.
    [[nodiscard]] std::string written(std::vector<std::size_t>& origins) const {
        std::string result;
        origins.clear();
        for (std::size_t at = 0; at < text_.size(); ++at) {
            if (changes_[at] == Change::reference) {
                result += "&#" + std::to_string(static_cast<int>(text_[at])) + ";";
            } else if (changes_[at] == Change::backslash) {
                result += '\\';
            }
            origins.resize(result.size(), none);
            if (changes_[at] != Change::reference) {
                result += text_[at];
                origins.push_back(at);
            }
        }
        return result;
    }

private:
    enum class Change : char { unchanged, backslash, reference };

    std::string_view text_;
    std::vector<Change> changes_;
};

using MarkOfBlock = std::size_t (*)(std::string_view written);

/// Returns where the marks that close a heading begin; none if it has none.
std::size_t markOfHeading(std::string_view content) {
    if (!content.ends_with('#')) {
        return none;
    }
    const std::size_t before = content.find_last_not_of('#');
    const bool closes = before == none || blanks.find(content[before]) != none;
    return !closes ? none : before == none ? 0 : before + 1;
}

/// Writes the draft with the backslashes that it needs to show what it holds.
std::string settled(Draft& draft, MarkOfBlock markOfBlock) {
    constexpr int mostRounds = 32; // more are needed only by texts made to need them
    std::vector<std::size_t> origins;
    for (int round = 0;; ++round) {
        if (round == mostRounds) {
            draft.escapeAll();
        }
        const std::string written = draft.written(origins);
        const std::size_t block = markOfBlock(written);
        bool isChanged = block != none && draft.escape(origins[block]);
        if (block == none) {
            for (const std::size_t mark : marksIn(written)) {
                isChanged |= origins[mark] != none && draft.escape(origins[mark]);
            }
        }
        if (!isChanged || round > mostRounds) {
            return written;
        }
    }
}

bool needsReference(std::string_view text) {
    return std::ranges::any_of(text, isLineEnd);
}

bool hasTag(std::string_view text) {
    for (std::size_t at = text.find('<'); at != none; at = text.find('<', at + 1)) {
        if (beginsTag(text, at)) {
            return true;
        }
    }
    return false;
}

std::string writtenLine(std::string_view line) {
    if (!needsReference(line) && !hasTag(line) && !isRule(line) && shownLine(line) == line &&
        blockMark(line) == none) {
        return std::string{line};
    }
    Draft draft{line};
    if (isRule(line)) {
        draft.escape(line.find_first_not_of(blanks));
    }
    draft.escapeTags();
    draft.escapeBackslashes();
    return settled(draft, &blockMark);
}

/// Returns the content of a heading that shows the title.
std::string writtenTitle(std::string_view title) {
    if (!needsReference(title) && !hasTag(title) && shownHeading(title) == title) {
        return std::string{title};
    }
    Draft draft{title};
    const std::size_t first = std::min(title.find_first_not_of(blanks), title.size());
    const std::size_t end = title.find_last_not_of(blanks) + 1; // zero if there is none
    for (std::size_t at = 0; at < title.size(); ++at) {
        if (at < first || at >= end) {
            draft.refer(at);
        }
    }
    draft.escapeTags();
    draft.escapeBackslashes();
    return settled(draft, &markOfHeading);
}

} // namespace

std::string writtenNote(const NoteText& note) {
    std::string written = "# " + writtenTitle(note.title) + "\n\n";
    for (const std::string& line : note.lines) {
        written.append(writtenLine(line)).append("\n");
    }
    return written;
}

} // namespace velmiro::osascript
