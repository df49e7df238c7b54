#include "approval_host/question/Layout.hpp"

#include "approval_host/question/Scalars.hpp"

#include <algorithm>

namespace velmiro::host {

namespace {

constexpr std::string_view indent = "    ";
constexpr std::size_t fewestColumns = 8;

/// Returns how many columns a character takes at most; `next` follows it.
std::size_t cellsOf(char32_t scalar, char32_t next) {
    if (scalar <= 0x7F) { // with a selector, a digit is drawn as a key, by some terminals as wide
        return lookOf(next) == Look::selector ? 2 : 1;
    }
    return lookOf(scalar) == Look::plain ? 2 : 0;
}

/// Returns how many columns of a row are left after the indent. The last column stays free, because
/// some terminals move to the next row as soon as it is filled.
std::size_t roomOf(const Style& style) {
    if (style.columns == 0) {
        return 0;
    }
    const std::size_t taken = indent.size() + 1;
    return std::max(fewestColumns, style.columns - std::min(style.columns, taken));
}

void appendRows(std::string& text, std::string_view shown, const Style& style) {
    bool isFirst = true;
    for (const std::string_view row : rowsOf(shown, roomOf(style))) {
        text += isFirst ? "" : "\n    ";
        text += row;
        isFirst = false;
    }
}

std::string bold(std::string_view text, const Style& style) {
    return style.bold ? "\033[1m" + std::string{text} + "\033[0m" : std::string{text};
}

} // namespace

std::vector<std::string_view> rowsOf(std::string_view text, std::size_t columns) {
    std::vector<std::string_view> rows;
    std::string_view row = text; // starts where the row starts; its length is not known yet
    std::string_view rest = text;
    std::size_t cells = 0;
    std::size_t afterBlank = 0; // the length of the row if it is broken at its last blank
    while (!rest.empty() && columns > 0) {
        std::string_view next = rest;
        const char32_t scalar = takeScalar(next);
        std::string_view afterNext = next;
        const std::size_t width = cellsOf(scalar, next.empty() ? 0 : takeScalar(afterNext));
        const std::size_t length = row.size() - rest.size();
        if (cells + width > columns && length > 0) {
            const std::size_t end = afterBlank > 0 ? afterBlank : length;
            rows.push_back(row.substr(0, end));
            row.remove_prefix(end);
            rest = row;
            cells = 0;
            afterBlank = 0;
            continue;
        }
        cells += width;
        rest = next;
        if (scalar == ' ') {
            afterBlank = row.size() - rest.size();
        }
    }
    rows.push_back(row);
    return rows;
}

std::string questionText(const Question& question, std::size_t waiting, const Style& style) {
    std::string text = "\n";
    std::string heading;
    appendRows(heading, question.tool + " wants to:", style);
    text += bold(heading, style);
    text += '\n';
    text += indent;
    appendRows(text, question.summary, style);
    text += '\n';
    if (waiting > 0) {
        text += waitingText(waiting) + '\n';
    }
    return text;
}

std::string waitingText(std::size_t waiting) {
    return '(' + std::to_string(waiting) +
           (waiting == 1 ? " more question waits)" : " more questions wait)");
}

std::string promptText(const Style& style) {
    return bold("Allow? [y/n]", style) + ' ';
}

std::string promptAgainText(const Style& style) {
    return (style.answersAreSeen ? "" : "\n") + std::string{"Please type y or n. "} +
           promptText(style);
}

std::string answeredText(bool allowed, const Style& style) {
    return (style.answersAreSeen ? "" : "\n") + std::string{allowed ? "Allowed.\n" : "Refused.\n"};
}

std::string withdrawnText() {
    return "\nWithdrawn: whoever asked is gone.\n";
}

std::string endedText() {
    return "\nRefused: this host ends.\n";
}

std::string decisionText(const Question& question, bool allowed, const Style& style) {
    std::string text;
    const std::string answer = allowed ? "allowed " : "refused ";
    appendRows(text, answer + question.tool + ": " + question.summary, style);
    return text + '\n';
}

} // namespace velmiro::host
