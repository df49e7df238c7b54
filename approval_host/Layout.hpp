#pragma once

#include "approval_host/Question.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What the user sees, as text. Only the host itself writes in the first column: every row of a
/// summary is indented, and on a terminal it is broken before the terminal would break it.
namespace velmiro::host {

/// How the place that text is written to shows it.
struct Style {
    std::size_t columns = 0;     ///< of a terminal; 0: rows are not broken
    bool bold = false;           ///< it knows how to write bold
    bool answersAreSeen = false; ///< the user sees what is typed, and the line it ends
};

/// A question without its prompt; `waiting` is how many more there are.
std::string questionText(const Question& question, std::size_t waiting, const Style& style);

std::string promptText(const Style& style);
std::string promptAgainText(const Style& style);

/// What is written behind a prompt once there is nothing more to answer.
std::string answeredText(bool allowed, const Style& style);
std::string withdrawnText();
std::string endedText();

/// A question and its answer where nobody was asked: one line, broken and indented on a terminal.
std::string decisionText(const Question& question, bool allowed, const Style& style);

/// Breaks visible text into rows of at most `columns` cells, at blanks where there are any; one row
/// where `columns` is 0. A character outside ASCII counts as two cells, so a row is never wider
/// than that, whatever the terminal makes of it.
std::vector<std::string_view> rowsOf(std::string_view text, std::size_t columns);

} // namespace velmiro::host
