#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace velmiro::local {

/// A calendar file as the lines that somebody wrote, to change some of them and leave every other
/// byte as it is. A line is what unfolding makes one, with its folds and its line break; so line
/// numbers are those of the unfolded text.
class LineEdits {
public:
    /// The bytes must outlive the object.
    explicit LineEdits(std::string_view bytes);

    [[nodiscard]] std::size_t count() const { return lines_.size(); }

    /// The line break that a line ends with; of the last line that has none, LF.
    [[nodiscard]] std::string_view breakOf(std::size_t line) const;

    /// Puts a line, given without its break, in the place of another, whose break it takes.
    void replace(std::size_t line, const std::string& text);

    /// Puts text before a line, behind what was put there already.
    void insertBefore(std::size_t line, const std::string& text);

    /// Removes the lines from `first` up to but not including `end`.
    void remove(std::size_t first, std::size_t end);

    [[nodiscard]] std::string text() const;

private:
    std::vector<std::string_view> lines_;
    std::map<std::size_t, std::string> replaced_;
    std::map<std::size_t, std::string> inserted_;
};

/// Numbers of lines in an unfolded text. The positions asked for must ascend.
class LineCounter {
public:
    explicit LineCounter(std::string_view text) : text_{text} {}

    /// The number of the line in which `position`, a part of the text, is.
    std::size_t lineOf(const char* position);

private:
    std::string_view text_; ///< from the last position on
    std::size_t line_ = 0;
};

} // namespace velmiro::local
