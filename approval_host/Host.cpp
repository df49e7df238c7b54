// The one hazard here is an answer that reaches the wrong question. An answer belongs to the
// question on the screen, and only if it was given while that question was there:
//  - Hang-ups are handled before answers, so a yes given after a hang-up answers nothing.
//  - A screen drops what was done before it showed the question.
//  - After a withdrawn question the next one is held back for a second, long enough for a hand that
//    was about to answer.

#include "approval_host/Host.hpp"

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace velmiro::host {

namespace {

using namespace std::chrono_literals;

/// How long nothing is shown after a question that left without an answer.
constexpr auto rest = 1s;
/// As many connections as macOS lets a process poll, 10,240 descriptors, with room for the others.
constexpr std::size_t mostConnections = 10'000;
/// How long connections are left in the kernel's queue when there is no descriptor for them.
constexpr auto restWithoutDescriptors = 100ms;
/// How long a question may take to arrive. A server sends its own in one write, but may be held up.
/// The limit is shorter while other askers wait for a descriptor.
constexpr auto patienceWithHalfQuestions = 5s;
constexpr auto patienceWhileOthersWait = 1s;

/// The positions of what is polled; the connections follow.
enum Watched : std::size_t { stopAt, listenerAt, screenAt, connectionsAt };

} // namespace

void Host::run() {
    while (!ended_) {
        runOnce();
    }
    if (shown_ != nullptr) {
        screen_.close(Screen::Outcome::hostEnds);
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
    if (news[screenAt].revents != 0) {
        take(screen_.read());
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
    watched.push_back({screen_.descriptor(), POLLIN, 0});
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
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(*moment - Clock::now());
            const int wait = std::max(0, static_cast<int>(left.count()));
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
        queue_.push_back(&connection);
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

void Host::forgetClosed() {
    if (shown_ != nullptr && shown_->isClosed()) {
        shown_ = nullptr;
        showAfter_ = Clock::now() + rest;
        ended_ = !screen_.close(Screen::Outcome::withdrawn) || ended_;
    }
    std::erase_if(queue_, [](const Connection* each) { return each->isClosed(); });
    const auto forgotten =
        std::erase_if(connections_, [](const auto& each) { return each->isClosed(); });
    if (forgotten > 0) {
        acceptAfter_.reset();
    }
}

/// Askers wait in the kernel's queue until a descriptor is free again.
void Host::letOthersWait() {
    acceptAfter_ = Clock::now() + restWithoutDescriptors;
    othersWait_ = true;
}

void Host::acceptAll() {
    // Bounded, so that a flood of askers does not delay the user's answers.
    for (int accepted = 0; accepted < SOMAXCONN; ++accepted) {
        if (connections_.size() == mostConnections) {
            letOthersWait();
            return;
        }
        MCPStdio::Descriptor socket{::accept(inputs_.listener, nullptr, nullptr)};
        if (socket) {
            if (::fcntl(socket.get(), F_SETFL, O_NONBLOCK) == 0 &&
                ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC) == 0) {
                connections_.push_back(std::make_unique<Connection>(std::move(socket)));
            }
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
            letOthersWait();
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
        shown_ = next;
        take(screen_.show(next->question(), queue_.size() - 1));
    }
}

void Host::take(Screen::Answer answer) {
    switch (answer) {
    case Screen::Answer::none:
        break;
    case Screen::Answer::yes:
        answerShown(true);
        break;
    case Screen::Answer::no:
        answerShown(false);
        break;
    case Screen::Answer::again:
        shown_ = nullptr;
        showAfter_ = Clock::now() + rest;
        break;
    case Screen::Answer::over:
        ended_ = true;
        break;
    }
}

void Host::answerShown(bool allow) {
    const auto outcome = allow ? Screen::Outcome::allowed : Screen::Outcome::refused;
    ended_ = !screen_.close(outcome) || ended_;
    shown_->answer(allow && !ended_);
    shown_ = nullptr;
    forgetClosed();
}

} // namespace velmiro::host
