#include "osascript/notes/InlineMarkdown.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/CharacterReference.hpp"
#include "osascript/notes/MarkdownLink.hpp"
#include "osascript/text/CharacterKinds.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace velmiro::osascript {
namespace {

/// Whether a byte may be a mark, by its value.
constexpr auto mayBeMark = [] {
    std::array<bool, 256> table{};
    for (const char letter : std::string_view{"\\`*_~&<[!"}) {
        table[static_cast<unsigned char>(letter)] = true;
    }
    return table;
}();

/// Returns the index of the first byte that may be a mark; the length if there is none.
std::size_t findMark(std::string_view text, std::size_t from) {
    while (from < text.size() && !mayBeMark[static_cast<unsigned char>(text[from])]) {
        ++from;
    }
    return from;
}

bool isASCIIWordCharacter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_';
}

/// Returns code without the blank on each side that separates it from ticks of its own.
std::string_view shownCode(std::string_view code) {
    const bool isPadded = code.size() > 1 && code.starts_with(' ') && code.ends_with(' ');
    return isPadded && !isBlank(code) ? code.substr(1, code.size() - 2) : code;
}

std::size_t runLength(std::string_view text, std::size_t at) {
    return std::min(text.find_first_not_of(text[at], at), text.size()) - at;
}

/// A run of one mark, which may be half of an emphasis.
struct Run {
    std::size_t at;      ///< in the text
    std::size_t shownAt; ///< in what is shown
    std::size_t length;
    bool isPaired = false;
};

/// Finds pairs of runs, each of one mark and one length. A pair may contain another; of two that
/// cross, the one that ends first counts.
class OpenRuns {
public:
    static constexpr std::size_t longest = 3;

    void open(char mark, std::size_t length, std::size_t run) {
        stackOf(mark, length).push_back(run);
    }

    /// Returns the run that the next one closes, and forgets those opened after it.
    std::optional<std::size_t> close(char mark, std::size_t length) {
        auto& same = stackOf(mark, length);
        if (same.empty()) {
            return std::nullopt;
        }
        const std::size_t opener = same.back();
        for (auto& runs : stacks_) {
            while (!runs.empty() && runs.back() >= opener) {
                runs.pop_back();
            }
        }
        return opener;
    }

private:
    std::vector<std::size_t>& stackOf(char mark, std::size_t length) {
        constexpr std::string_view marks = "*_~";
        return stacks_[marks.find(mark) * longest + length - 1];
    }

    std::array<std::vector<std::size_t>, 3 * longest> stacks_;
};

/// Reads one line, or the label of a link.
class LineReader {
public:
    LineReader(std::string_view text, std::string& shown, std::vector<std::size_t>* marks)
        : text_{text},
          shown_{shown},
          marks_{marks} {}

    void read() {
        while (at_ < text_.size()) {
            show(findMark(text_, at_) - at_);
            if (at_ < text_.size()) {
                readMark();
            }
        }
        removePairs();
    }

private:
    void readMark() {
        switch (text_[at_]) {
        case '\\':
            return readEscape();
        case '&':
            return readReference();
        case '<':
            return readAddress();
        case '`':
            return readCode();
        case '[':
        case '!':
            return readLink();
        default:
            return readRun();
        }
    }

    void readEscape() {
        if (at_ + 1 < text_.size() && isEscapable(text_[at_ + 1])) {
            skipMark(1);
        }
        show(1);
    }

    void readReference() {
        if (const auto reference = characterReference(text_.substr(at_))) {
            MCPStdio::appendUTF8(shown_, reference->character);
            skipMark(reference->length);
        } else {
            show(1);
        }
    }

    void readAddress() {
        if (const std::size_t length = bareAddressLength(text_.substr(at_)); length > 0) {
            skipMark(1);
            show(length - 2);
            ++at_;
        } else {
            show(1);
        }
    }

    void readLink() {
        const std::size_t bracket = text_[at_] == '!' ? at_ + 1 : at_;
        const auto link =
            text_.substr(bracket).starts_with('[') ? markdownLink(text_, bracket) : std::nullopt;
        if (!link) {
            return show(1);
        }
        at_ = bracket;
        skipMark(0);
        appendShown(shown_, text_.substr(link->labelBegin, link->labelEnd - link->labelBegin));
        at_ = link->end;
    }

    void readCode() {
        const std::size_t length = runLength(text_, at_);
        const std::size_t begin = at_ + length;
        const auto end = closingTicks(begin, length);
        if (!end) {
            return show(length);
        }
        shown_ += shownCode(text_.substr(begin, *end - begin));
        markAll(at_, length);
        markAll(*end, length);
        at_ = *end + length;
    }

    void readRun() {
        const char mark = text_[at_];
        const std::size_t length = runLength(text_, at_);
        const auto before = text_.substr(0, at_);
        const auto after = text_.substr(at_ + length);
        runs_.push_back({at_, shown_.size(), length});
        show(length);
        if (length > OpenRuns::longest || (mark == '~' && length != 2)) {
            return;
        }
        const bool isInWord = (mark == '_' || length == 1) && isWithinWord(mark, before, after);
        const bool mayClose = !isInWord && !before.empty() && spaceAtBack(before) == 0;
        const bool mayOpen = !isInWord && !after.empty() && spaceAtFront(after) == 0;
        if (const auto opener = mayClose ? open_.close(mark, length) : std::nullopt) {
            runs_[*opener].isPaired = true;
            runs_.back().isPaired = true;
        } else if (mayOpen) {
            open_.open(mark, length, runs_.size() - 1);
        }
    }

    static bool isWithinWord(char mark, std::string_view before, std::string_view after) {
        if (before.empty() || after.empty()) {
            return false;
        }
        const bool isInASCII =
            isASCIIWordCharacter(before.back()) && isASCIIWordCharacter(after.front());
        return isInASCII || (mark == '_' && (before.ends_with('_') || endsWithLetter(before)) &&
                             (after.starts_with('_') || beginsWithLetter(after)));
    }

    /// Returns the next run of as many ticks. Whether there is one is known from a single look at
    /// the line: a line of ticks is not searched again for each run.
    std::optional<std::size_t> closingTicks(std::size_t from, std::size_t length) {
        if (lastTicks_.empty()) {
            for (std::size_t at = text_.find('`', from - length); at < text_.size();) {
                const std::size_t here = runLength(text_, at);
                const auto known = std::ranges::find(lastTicks_, here, &Ticks::first);
                if (known == lastTicks_.end()) {
                    lastTicks_.emplace_back(here, at);
                } else {
                    known->second = at;
                }
                at = text_.find('`', at + here);
            }
        }
        const auto last = std::ranges::find(lastTicks_, length, &Ticks::first);
        if (last == lastTicks_.end() || last->second < from) {
            return std::nullopt;
        }
        std::size_t at = text_.find('`', from);
        while (runLength(text_, at) != length) {
            at = text_.find('`', at + runLength(text_, at));
        }
        return at;
    }

    /// Removes the runs of emphasis from what is shown.
    void removePairs() {
        const auto iterator = [&](std::size_t index) {
            return shown_.begin() + static_cast<std::ptrdiff_t>(index);
        };
        std::size_t kept = begin_;
        std::size_t from = begin_;
        for (const Run& run : runs_) {
            if (run.isPaired) {
                markAll(run.at, run.length);
                std::copy(iterator(from), iterator(run.shownAt), iterator(kept));
                kept += run.shownAt - from;
                from = run.shownAt + run.length;
            }
        }
        shown_.erase(kept, from - kept);
    }

    void show(std::size_t length) {
        shown_ += text_.substr(at_, length);
        at_ += length;
    }

    /// Leaves out a mark, of which only the first character needs a backslash to be shown.
    void skipMark(std::size_t length) {
        markAll(at_, 1);
        at_ += length;
    }

    void markAll(std::size_t at, std::size_t length) {
        for (std::size_t index = at; marks_ != nullptr && index < at + length; ++index) {
            marks_->push_back(index);
        }
    }

    using Ticks = std::pair<std::size_t, std::size_t>; ///< a length, and where its last run begins

    std::string_view text_;
    std::string& shown_;
    std::vector<std::size_t>* marks_;
    const std::size_t begin_ = shown_.size();
    std::size_t at_ = 0;
    std::vector<Run> runs_;
    OpenRuns open_;
    std::vector<Ticks> lastTicks_;
};

} // namespace

void appendShown(std::string& shown, std::string_view text) {
    if (findMark(text, 0) == text.size()) {
        shown += text;
    } else {
        LineReader{text, shown, nullptr}.read();
    }
}

std::vector<std::size_t> marksIn(std::string_view text) {
    std::vector<std::size_t> marks;
    std::string shown;
    LineReader{text, shown, &marks}.read();
    return marks;
}

bool isEscapable(char letter) {
    return letter > ' ' && letter < 0x7F && (!isASCIIWordCharacter(letter) || letter == '_');
}

} // namespace velmiro::osascript
