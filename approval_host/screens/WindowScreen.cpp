#include "approval_host/screens/WindowScreen.hpp"

#include "approval_host/process/HostError.hpp"

#include <utility>

namespace velmiro::host {

namespace {

using namespace std::chrono_literals;

/// A window takes some of this to appear. Nobody has read it sooner: whoever allows by then was
/// about to press or click something else.
constexpr auto soonestConsent = 1s;

} // namespace

WindowScreen::WindowScreen(WindowProgram program, const Output& errors)
    : program_{std::move(program)},
      errors_{errors} {}

Screen::Answer WindowScreen::show(const Question& question, std::size_t waiting) {
    opened_ = Clock::now();
    try {
        window_.emplace(windowCommand(program_, question, waiting));
        return Answer::none;
    } catch (const HostError& error) {
        static_cast<void>(errors_.write("approval_host: " + std::string{error.what()} + '\n'));
        return Answer::no;
    }
}

Screen::Answer WindowScreen::read() {
    ended_.clear();
    if (!window_) {
        return Answer::none;
    }
    const auto result = window_->result();
    if (!result) {
        return Answer::none;
    }
    window_.reset();
    if (!result->endedWell || !isConsent(program_.kind, result->printed)) {
        return Answer::no;
    }
    return Clock::now() - opened_ < soonestConsent ? Answer::again : Answer::yes;
}

bool WindowScreen::close(Outcome /*outcome*/) {
    window_.reset();
    return true;
}

} // namespace velmiro::host
