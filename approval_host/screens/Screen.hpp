#pragma once

#include "approval_host/question/Question.hpp"

#include <cstddef>

namespace velmiro::host {

/// Where questions are answered, one at a time. The host owns the order of the questions; a screen
/// knows only the one that it shows.
class Screen {
public:
    enum class Answer {
        none,  ///< not yet
        yes,   ///< allowed
        no,    ///< refused
        again, ///< given too early to count: the question has left, and is to be shown once more
        over,  ///< nobody can be asked any more
    };

    /// Why a question that is shown ends.
    enum class Outcome { allowed, refused, withdrawn, hostEnds };

    Screen() = default;
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    virtual ~Screen() = default;

    /// Returns the descriptor that is readable when `read` has something to do; -1 if none ever is.
    [[nodiscard]] virtual int descriptor() const noexcept = 0;

    /// Shows a question; `waiting` is the number of questions after it. An answer other than `none`
    /// is given at once.
    virtual Answer show(const Question& question, std::size_t waiting) = 0;

    /// Reads what the user has done since. Without a question on the screen it returns only `none`
    /// or `over`.
    virtual Answer read() = 0;

    /// Takes the question from the screen. Returns false if nobody can see the screen any more; what
    /// was allowed is not allowed then.
    virtual bool close(Outcome outcome) = 0;
};

} // namespace velmiro::host
