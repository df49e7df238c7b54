#include "approval_host/screens/WindowText.hpp"

#include "approval_host/question/Layout.hpp"

#include <string_view>

namespace velmiro::host {

namespace {

/// Rows of this many cells fit on any screen, also in the widest letters.
constexpr std::size_t columns = 56;

/// The most rows of a name and of a summary. Only what is spelled in numbers needs more.
constexpr std::size_t mostNameRows = 3;
constexpr std::size_t mostRows = 16;
constexpr std::size_t rowsAtEnd = 4;

/// Makes a row run from left to right, whatever it begins with; invisible.
constexpr std::string_view leftToRight = "\u200E";
constexpr std::string_view bar = "│ ";

std::string begun(std::string_view with, std::string_view row) {
    std::string text{leftToRight};
    text += with;
    text += row;
    return text;
}

} // namespace

std::vector<std::string> windowRows(const Question& question, std::size_t waiting) {
    std::vector<std::string> rows;
    const std::string heading = question.tool + " wants to:";
    const auto names = rowsOf(heading, columns);
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (at < mostNameRows - 1 || at + 1 == names.size()) {
            rows.push_back(begun(at == 0 ? "" : "    ", names[at]));
        }
    }
    rows.push_back(begun("", ""));
    const auto summary = rowsOf(question.summary, columns);
    const std::size_t left = summary.size() > mostRows ? summary.size() - (mostRows - 1) : 0;
    const std::size_t begin = mostRows - 1 - rowsAtEnd;
    for (std::size_t at = 0; at < summary.size(); ++at) {
        if (left > 0 && at == begin) {
            rows.push_back(begun("", "(" + std::to_string(left) + " more rows)"));
        }
        if (left == 0 || at < begin || at >= begin + left) {
            rows.push_back(begun(bar, summary[at]));
        }
    }
    if (waiting > 0) {
        rows.push_back(begun("", ""));
        rows.push_back(begun("", waitingText(waiting)));
    }
    return rows;
}

} // namespace velmiro::host
