#include "velmiro_mcp/platform/local/editing/LineEdits.hpp"

#include <algorithm>

namespace velmiro::local {
namespace {

/// Returns the size of the first line: up to the first line break not followed by a blank.
std::size_t lineSize(std::string_view text) {
    std::size_t end = 0;
    do {
        end = text.find('\n', end);
        if (end == std::string_view::npos) {
            return text.size();
        }
        ++end;
    } while (end < text.size() && (text[end] == ' ' || text[end] == '\t'));
    return end;
}

} // namespace

LineEdits::LineEdits(std::string_view bytes) {
    while (!bytes.empty()) {
        lines_.push_back(bytes.substr(0, lineSize(bytes)));
        bytes.remove_prefix(lines_.back().size());
    }
}

std::string_view LineEdits::breakOf(std::size_t line) const {
    return lines_[line].ends_with("\r\n") ? "\r\n" : "\n";
}

void LineEdits::replace(std::size_t line, const std::string& text) {
    replaced_[line] = text + std::string{breakOf(line)};
}

void LineEdits::insertBefore(std::size_t line, const std::string& text) {
    inserted_[line] += text;
}

void LineEdits::remove(std::size_t first, std::size_t end) {
    for (std::size_t line = first; line < end; ++line) {
        replaced_[line].clear();
    }
}

std::string LineEdits::text() const {
    std::string text;
    for (std::size_t line = 0; line < lines_.size(); ++line) {
        if (const auto before = inserted_.find(line); before != inserted_.end()) {
            text += before->second;
        }
        const auto instead = replaced_.find(line);
        text += instead != replaced_.end() ? std::string_view{instead->second} : lines_[line];
    }
    return text;
}

std::size_t LineCounter::lineOf(const char* position) {
    const auto passed = static_cast<std::size_t>(position - text_.data());
    line_ += static_cast<std::size_t>(std::ranges::count(text_.substr(0, passed), '\n'));
    text_.remove_prefix(passed);
    return line_;
}

} // namespace velmiro::local
