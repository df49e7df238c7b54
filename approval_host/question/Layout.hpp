#pragma once

#include "approval_host/question/Question.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The text that the user sees. Only the host itself writes in the first column: each row of a
/// summary is indented, and on a terminal the host breaks rows before the terminal would.
namespace velmiro::host {

/// The abilities of whatever shows the text.
struct Style {
    std::size_t columns = 0;     ///< of a terminal; 0: rows are not broken
    bool bold = false;           ///< it can show bold
    bool answersAreSeen = false; ///< it echoes typed input, including the end of the line
};

/// Returns a question without its prompt; `waiting` is the number of questions after it.
std::string questionText(const Question& question, std::size_t waiting, const Style& style);

/// Returns the note that other questions wait; there is at least one.
std::string waitingText(std::size_t waiting);

std::string promptText(const Style& style);
std::string promptAgainText(const Style& style);

/// Return what is written after a prompt once there is nothing left to answer.
std::string answeredText(bool allowed, const Style& style);
std::string withdrawnText();
std::string endedText();

/// Returns one line with a question and its answer, for a policy that answers by itself. On a
/// terminal the line is broken and indented.
std::string decisionText(const Question& question, bool allowed, const Style& style);

/// Breaks visible text into rows of at most `columns` cells, at blanks if there are any; returns a
/// single row if `columns` is 0. A character outside ASCII counts as two cells, so no terminal
/// shows a row wider than that.
std::vector<std::string_view> rowsOf(std::string_view text, std::size_t columns);

} // namespace velmiro::host
