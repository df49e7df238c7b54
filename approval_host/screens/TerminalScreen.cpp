// Typed input answers the question on the screen, and only if it was typed while that question was
// there: before a question is shown, all input typed so far is dropped, including an unfinished
// line.

#include "approval_host/screens/TerminalScreen.hpp"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace velmiro::host {

namespace {

bool isReady(int descriptor) {
    pollfd watched{descriptor, POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1;
}

} // namespace

TerminalScreen::TerminalScreen(int typed, const Output& output)
    : typed_{typed},
      output_{output},
      typedIsTerminal_{::isatty(typed) == 1} {}

Screen::Answer TerminalScreen::show(const Question& question, std::size_t waiting) {
    print(questionText(question, waiting, style()));
    dropTyped();
    print(promptText(style()));
    isAsking_ = true;
    return isOver_ ? Answer::over : Answer::none;
}

Screen::Answer TerminalScreen::read() {
    std::array<char, 4096> bytes;
    const ssize_t count = ::read(typed_, bytes.data(), bytes.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return Answer::none;
    }
    if (count <= 0) {
        isOver_ = true;
        return Answer::over;
    }
    if (!isAsking_) {
        return Answer::none;
    }
    switch (lines_.add({bytes.data(), static_cast<std::size_t>(count)})) {
    case TypedLines::Answer::none:
        break;
    case TypedLines::Answer::yes:
        return Answer::yes;
    case TypedLines::Answer::no:
        return Answer::no;
    case TypedLines::Answer::unclear:
        print(promptAgainText(style()));
        break;
    }
    return isOver_ ? Answer::over : Answer::none;
}

bool TerminalScreen::close(Outcome outcome) {
    isAsking_ = false;
    switch (outcome) {
    case Outcome::allowed:
    case Outcome::refused:
        print(answeredText(outcome == Outcome::allowed, style()));
        break;
    case Outcome::withdrawn:
        print(withdrawnText());
        break;
    case Outcome::hostEnds:
        print(endedText());
        break;
    }
    return !isOver_;
}

void TerminalScreen::dropTyped() {
    lines_.clear();
    if (typedIsTerminal_) {
        ::tcflush(typed_, TCIFLUSH);
        return;
    }
    // Bounded: endless input is not typed by hand.
    for (int parts = 0; parts < 256 && !isOver_ && isReady(typed_); ++parts) {
        read();
    }
}

void TerminalScreen::print(std::string_view text) {
    if (!output_.write(text)) {
        isOver_ = true;
    }
}

Style TerminalScreen::style() const {
    return output_.style(typedIsTerminal_);
}

} // namespace velmiro::host
