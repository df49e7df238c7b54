#include "osascript/notes/NoteObjects.hpp"

#include "MCPStdio/text/UTF8.hpp"
#include "osascript/notes/NoteHTML.hpp"
#include "osascript/text/Folding.hpp"

#include <algorithm>
#include <array>
#include <limits>

namespace velmiro::osascript {
namespace {

constexpr auto none = std::string::npos;

/// Returns a file's name as part of an identifier: itself, with escapes for control characters and
/// for the escape, and if it is not UTF-8, for all that is not ASCII.
std::string identifying(const std::string& name) {
    constexpr std::string_view replacement = "\uFFFD";
    constexpr std::string_view digits = "0123456789abcdef";
    const bool isText = MCPStdio::isValidUTF8(name) && name.find(replacement) == std::string::npos;
    std::string result;
    for (const char letter : name) {
        const auto byte = static_cast<unsigned char>(letter);
        const bool isClear = byte >= 0x20 && byte != 0x7F && byte != '%' && (isText || byte < 0x80);
        if (isClear) {
            result += letter;
        } else {
            result.append("%").append(1, digits[byte >> 4U]).append(1, digits[byte & 0xFU]);
        }
    }
    return result;
}

/// Returns the nearest millisecond; no date for a note that is gone.
Date dateOf(const std::optional<NoteTimes>& times, std::int64_t NoteTimes::* which) {
    if (!times) {
        return {std::numeric_limits<double>::quiet_NaN()};
    }
    constexpr std::int64_t perMillisecond = 1'000'000;
    const std::int64_t rounded = (*times).*which + perMillisecond / 2;
    const std::int64_t rest = (rounded % perMillisecond + perMillisecond) % perMillisecond;
    const std::int64_t milliseconds = (rounded - rest) / perMillisecond;
    return {static_cast<double>(milliseconds)};
}

bool isAboutParts(Operator operation) {
    return operation == Operator::contains || operation == Operator::beginsWith ||
           operation == Operator::endsWith;
}

bool holds(const Condition& condition, std::string_view text) {
    const std::string having = folded(text);
    switch (condition.operation) {
    case Operator::beginsWith:
        return having.starts_with(condition.folded);
    case Operator::endsWith:
        return having.ends_with(condition.folded);
    default:
        return having.find(condition.folded) != std::string::npos;
    }
}

} // namespace

std::string NotesFolder::name() const {
    return MCPStdio::repairUTF8(name_);
}

std::string NotesFolder::identifier() const {
    return "folder:" + identifying(name_);
}

std::string StoredNote::identifier() const {
    return "note:" + identifying(folder_->fileName()) + "/" + identifying(file_);
}

std::string StoredNote::title() const {
    const NoteText& text = files().text(location());
    return text.title.empty() ? MCPStdio::repairUTF8(file_.substr(0, file_.rfind('.')))
                              : text.title;
}

std::string StoredNote::text() const {
    return files().text(location()).whole();
}

std::string StoredNote::html() const {
    const std::string heading = title();
    return noteHTML(heading, files().text(location()).lines);
}

Date StoredNote::created() const {
    return dateOf(times(), &NoteTimes::created);
}

Date StoredNote::modified() const {
    return dateOf(times(), &NoteTimes::modified);
}

const std::optional<NoteTimes>& StoredNote::times() const {
    if (!times_) {
        times_ = files().times(location());
    }
    return times_;
}

std::optional<bool> StoredNote::decideTitle(const Condition& condition) const {
    if (!isAboutParts(condition.operation)) {
        return std::nullopt;
    }
    const bool isPossible = condition.folded.empty() ||
                            files().mayShow(location(), condition.folded) ||
                            files().mayBeNamed(location(), condition.folded);
    return isPossible && (condition.folded.empty() || holds(condition, title()));
}

std::optional<bool> StoredNote::decideText(const Condition& condition) const {
    if (!isAboutParts(condition.operation)) {
        return std::nullopt;
    }
    if (condition.folded.empty()) {
        return true;
    }
    if (!files().mayShow(location(), condition.folded)) {
        return false;
    }
    if (condition.operation != Operator::contains || condition.folded.find('\n') != none) {
        return holds(condition, text());
    }
    // Words without a line end are in one line, and often in one of the first.
    const NoteText& note = files().text(location());
    return holds(condition, note.title) ||
           std::ranges::any_of(note.lines,
                               [&](const std::string& line) { return holds(condition, line); });
}

} // namespace velmiro::osascript
