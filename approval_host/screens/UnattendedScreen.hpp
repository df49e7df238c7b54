#pragma once

#include "approval_host/screens/Output.hpp"
#include "approval_host/screens/Screen.hpp"

namespace velmiro::host {

/// Gives every question the same answer at once, and prints a line for each. What could not be
/// printed is not allowed.
class UnattendedScreen : public Screen {
public:
    /// The caller owns the output.
    UnattendedScreen(bool allows, const Output& output) noexcept
        : allows_{allows},
          output_{output} {}

    [[nodiscard]] int descriptor() const noexcept override { return -1; }

    Answer show(const Question& question, std::size_t /*waiting*/) override {
        if (!output_.write(decisionText(question, allows_, output_.style(false)))) {
            return Answer::over;
        }
        return allows_ ? Answer::yes : Answer::no;
    }

    Answer read() override { return Answer::none; }
    bool close(Outcome /*outcome*/) override { return true; }

private:
    const bool allows_;
    const Output& output_;
};

} // namespace velmiro::host
