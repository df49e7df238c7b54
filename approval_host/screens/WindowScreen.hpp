#pragma once

#include "approval_host/process/ChildProgram.hpp"
#include "approval_host/process/Process.hpp"
#include "approval_host/screens/Output.hpp"
#include "approval_host/screens/Screen.hpp"
#include "approval_host/screens/WindowProgram.hpp"

#include <chrono>
#include <optional>

namespace velmiro::host {

/// Asks in a window of its own for each question, which another program shows. The answer is that
/// program's; if it fails, the answer is no.
class WindowScreen : public Screen {
public:
    /// The caller owns the output, which gets a line when the program cannot be started.
    WindowScreen(WindowProgram program, const Output& errors);

    [[nodiscard]] int descriptor() const noexcept override { return ended_.descriptor(); }
    Answer show(const Question& question, std::size_t waiting) override;
    Answer read() override;
    bool close(Outcome outcome) override;

private:
    using Clock = std::chrono::steady_clock;

    const WindowProgram program_;
    const Output& errors_;
    ChildSignal ended_;
    std::optional<ChildProgram> window_;
    Clock::time_point opened_;
};

} // namespace velmiro::host
