#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// Edits some lines of a calendar file and leaves every other byte as it is. A line is a content
/// line with its folds and its line break, so line numbers are those of the unfolded text.
class LineEdits {
public:
    /// The bytes must outlive this object.
    explicit LineEdits(std::string_view bytes);

    [[nodiscard]] std::size_t count() const { return lines_.size(); }

    /// Returns the line break at the end of a line; LF for a last line without one.
    [[nodiscard]] std::string_view breakOf(std::size_t line) const;

    /// Replaces a line with one given without its line break, and keeps the old line break.
    void replace(std::size_t line, const std::string& text);

    /// Inserts text before a line, after any text inserted there earlier.
    void insertBefore(std::size_t line, const std::string& text);

    /// Removes the lines from `first` up to but not including `end`.
    void remove(std::size_t first, std::size_t end);

    /// Returns the edited file.
    [[nodiscard]] std::string text() const;

private:
    std::vector<std::string_view> lines_;
    std::map<std::size_t, std::string> replaced_;
    std::map<std::size_t, std::string> inserted_;
};

/// Counts the lines of an unfolded text. The positions asked for must ascend.
class LineCounter {
public:
    explicit LineCounter(std::string_view text) : text_{text} {}

    /// Returns the number of the line that holds `position`, a pointer into the text.
    std::size_t lineOf(const char* position);

private:
    std::string_view text_; ///< from the last position on
    std::size_t line_ = 0;
};

} // namespace velmiro::local
