#pragma once

#include "approval_host/question/Question.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace velmiro::host {

/// Returns the rows of a window that asks the question: what asks, then the summary, each of its
/// rows after a bar, then how many questions wait. No row is wider than a screen, and there are
/// never more than fit on one: the middle of a summary that needs more is left out, and a
/// row without a bar says so. Text that runs from right to left stays in its row, after its bar.
std::vector<std::string> windowRows(const Question& question, std::size_t waiting);

} // namespace velmiro::host
