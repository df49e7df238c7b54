#pragma once

#include <string>
#include <string_view>

namespace velmiro::host {

/// Turns the bytes that the user types into answers.
class TypedLines {
public:
    enum class Answer { none, yes, no, unclear };

    /// Adds the bytes typed since the last call. Returns yes or no if a line among them is y, yes,
    /// n or no, in upper or lower case, with or without blanks around it. What was typed after that
    /// line is dropped, because the next question was not visible yet. Returns unclear if there
    /// were lines but no answer, and none if no line ended.
    Answer add(std::string_view bytes);

    /// Drops an unfinished line.
    void clear() noexcept;

private:
    std::string begun_;
};

} // namespace velmiro::host
