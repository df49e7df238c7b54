#pragma once

#include "approval_host/screens/Output.hpp"
#include "approval_host/screens/Screen.hpp"
#include "approval_host/screens/TypedLines.hpp"

#include <string_view>

namespace velmiro::host {

/// Asks in a terminal, or over pipes, and reads typed lines. Blocks only while it writes to a
/// terminal that is stopped.
class TerminalScreen : public Screen {
public:
    /// The caller owns both.
    TerminalScreen(int typed, const Output& output);

    [[nodiscard]] int descriptor() const noexcept override { return typed_; }
    Answer show(const Question& question, std::size_t waiting) override;
    Answer read() override;
    bool close(Outcome outcome) override;

private:
    void dropTyped();
    void print(std::string_view text);
    [[nodiscard]] Style style() const;

    const int typed_;
    const Output& output_;
    const bool typedIsTerminal_;
    TypedLines lines_;
    bool isAsking_ = false;
    bool isOver_ = false; ///< the input has ended, or nobody can read the output
};

} // namespace velmiro::host
