// The one hazard here is an answer that reaches the wrong question. Typed input answers the
// question on the screen, and only if it was typed while that question was there:
//  - Hang-ups are handled before typed input, so a y typed after a hang-up answers nothing.
//  - Before a question is shown, all input typed so far is dropped, including an unfinished line.
//  - After a withdrawn question the next one is held back for a second, long enough for a hand that
//    was about to answer.

#include "approval_host/Host.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace velmiro::host {

namespace {

using namespace std::chrono_literals;

constexpr auto restAfterWithdrawal = 1s;
/// How long connections are left in the kernel's queue when there is no descriptor for them.
constexpr auto restWithoutDescriptors = 100ms;
/// How long a question may take to arrive. A server sends its own in one write, but may be held up.
/// The limit is shorter while other askers wait for a descriptor.
constexpr auto patienceWithHalfQuestions = 5s;
constexpr auto patienceWhileOthersWait = 1s;

/// The positions of what is polled; the connections follow.
enum Watched : std::size_t { stopAt, listenerAt, typedAt, connectionsAt };

bool isReady(int descriptor) {
    pollfd watched{descriptor, POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1;
}

} // namespace

Host::Host(const Inputs& inputs, const Output& output, Policy policy)
    : inputs_{inputs},
      output_{output},
      policy_{policy},
      typedIsTerminal_{policy == Policy::askUser && ::isatty(inputs.typed) == 1} {}

void Host::run() {
    while (!ended_) {
        runOnce();
    }
    if (shown_ != nullptr) {
        print(endedText());
    }
    for (const auto& connection : connections_) {
        connection->answer(false);
    }
    shown_ = nullptr;
    queue_.clear();
    connections_.clear();
}

void Host::runOnce() {
    const std::vector<pollfd> news = waitForNews();
    if (news[stopAt].revents != 0) {
        ended_ = true;
        return;
    }
    for (std::size_t at = connectionsAt; at < news.size(); ++at) {
        if (news[at].revents != 0) {
            receive(*connections_[at - connectionsAt]);
        }
    }
    refuseHalfQuestions();
    forgetClosed();
    if (news[typedAt].revents != 0) {
        readTyped();
    }
    if (news[listenerAt].revents != 0) {
        acceptAll();
    }
    showNext();
}

std::vector<pollfd> Host::waitForNews() {
    std::vector<pollfd> watched;
    watched.reserve(connectionsAt + connections_.size());
    watched.push_back({inputs_.stop, POLLIN, 0});
    watched.push_back({acceptAfter_ ? -1 : inputs_.listener, POLLIN, 0});
    watched.push_back({policy_ == Policy::askUser ? inputs_.typed : -1, POLLIN, 0});
    for (const auto& connection : connections_) {
        watched.push_back({connection->descriptor(), POLLIN, 0});
    }
    // Connections are in order of arrival, so the first unfinished question is the next to be late.
    const auto half =
        std::ranges::find_if(connections_, [](const auto& each) { return !each->isComplete(); });
    std::optional<Clock::time_point> refuseAfter;
    if (half != connections_.end()) {
        refuseAfter = (*half)->begin() + patienceWithHalf();
    }
    int timeout = -1;
    for (const auto& moment : {showAfter_, acceptAfter_, refuseAfter}) {
        if (moment) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(*moment - Clock::now());
            const int wait = std::max(0, static_cast<int>(rest.count()));
            timeout = timeout < 0 ? wait : std::min(timeout, wait);
        }
    }
    if (::poll(watched.data(), static_cast<nfds_t>(watched.size()), timeout) < 0) {
        for (pollfd& each : watched) {
            each.revents = 0;
        }
    }
    if (acceptAfter_ && Clock::now() >= *acceptAfter_) {
        acceptAfter_.reset();
    }
    if (showAfter_ && Clock::now() >= *showAfter_) {
        showAfter_.reset();
    }
    return watched;
}

void Host::receive(Connection& connection) {
    switch (connection.receive()) {
    case Connection::News::none:
        break;
    case Connection::News::over:
        connection.answer(false);
        break;
    case Connection::News::question:
        if (policy_ == Policy::askUser) {
            queue_.push_back(&connection);
        } else {
            decide(connection);
        }
        break;
    }
}

Host::Clock::duration Host::patienceWithHalf() const noexcept {
    return othersWait_ ? patienceWhileOthersWait : patienceWithHalfQuestions;
}

/// Refuses askers that take too long to finish their line, because they hold descriptors that
/// others need.
void Host::refuseHalfQuestions() {
    const auto latest = Clock::now() - patienceWithHalf();
    for (const auto& connection : connections_) {
        if (!connection->isComplete() && !connection->isClosed() && connection->begin() <= latest) {
            connection->answer(false);
        }
    }
}

void Host::decide(Connection& connection) {
    const bool allow = policy_ == Policy::allowAll;
    print(decisionText(connection.question(), allow, style()));
    // What could not be shown is not allowed.
    connection.answer(allow && !ended_);
}

void Host::forgetClosed() {
    if (shown_ != nullptr && shown_->isClosed()) {
        shown_ = nullptr;
        showAfter_ = Clock::now() + restAfterWithdrawal;
        print(withdrawnText());
    }
    std::erase_if(queue_, [](const Connection* each) { return each->isClosed(); });
    const auto forgotten =
        std::erase_if(connections_, [](const auto& each) { return each->isClosed(); });
    if (forgotten > 0) {
        acceptAfter_.reset();
    }
}

void Host::acceptAll() {
    // Bounded, so that a flood of askers does not delay the user's answers.
    for (int accepted = 0; accepted < SOMAXCONN; ++accepted) {
        MCPStdio::Descriptor socket{::accept(inputs_.listener, nullptr, nullptr)};
        if (socket) {
            if (::fcntl(socket.get(), F_SETFL, O_NONBLOCK) == 0) {
                connections_.push_back(std::make_unique<Connection>(std::move(socket)));
            }
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            // Askers wait in the kernel's queue until a descriptor is free again.
            acceptAfter_ = Clock::now() + restWithoutDescriptors;
            othersWait_ = true;
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            othersWait_ = false;
            return;
        }
    }
}

void Host::showNext() {
    while (!ended_ && shown_ == nullptr && !queue_.empty() && !showAfter_) {
        Connection* const next = queue_.front();
        // Checked once more, so that a question whose asker has gone is never shown.
        if (next->receive() == Connection::News::over) {
            next->answer(false);
            forgetClosed();
            continue;
        }
        print(questionText(next->question(), queue_.size() - 1, style()));
        dropTyped();
        print(promptText(style()));
        shown_ = next;
    }
}

void Host::readTyped() {
    std::array<char, 4096> bytes;
    const ssize_t count = ::read(inputs_.typed, bytes.data(), bytes.size());
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        ended_ = true;
        return;
    }
    if (shown_ == nullptr) {
        return;
    }
    switch (typed_.add({bytes.data(), static_cast<std::size_t>(count)})) {
    case TypedLines::Answer::none:
        break;
    case TypedLines::Answer::yes:
        answerShown(true);
        break;
    case TypedLines::Answer::no:
        answerShown(false);
        break;
    case TypedLines::Answer::unclear:
        print(promptAgainText(style()));
        break;
    }
}

void Host::dropTyped() {
    typed_.clear();
    if (typedIsTerminal_) {
        ::tcflush(inputs_.typed, TCIFLUSH);
        return;
    }
    // Bounded: endless input is not typed by hand.
    for (int parts = 0; parts < 256 && !ended_ && isReady(inputs_.typed); ++parts) {
        readTyped();
    }
}

void Host::answerShown(bool allow) {
    print(answeredText(allow, style()));
    shown_->answer(allow && !ended_);
    shown_ = nullptr;
    forgetClosed();
}

void Host::print(std::string_view text) {
    if (!output_.write(text)) {
        ended_ = true;
    }
}

Style Host::style() const {
    return output_.style(typedIsTerminal_);
}

} // namespace velmiro::host
