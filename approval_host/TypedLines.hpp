#pragma once

#include <string>
#include <string_view>

namespace velmiro::host {

/// What the user types, byte by byte, towards an answer.
class TypedLines {
public:
    enum class Answer { none, yes, no, unclear };

    /// Takes the bytes typed since the last call. Yes or no when a line among them says so: y, yes,
    /// n or no, in upper or lower case, between blanks; what was typed behind it is dropped, for it
    /// was typed before the next question could be seen. Unclear when there were lines and none
    /// said so; none when no line ended.
    Answer add(std::string_view bytes);

    /// Forgets a line that was begun.
    void clear() noexcept;

private:
    std::string begun_;
};

} // namespace velmiro::host
