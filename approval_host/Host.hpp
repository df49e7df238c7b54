#pragma once

#include "approval_host/Connection.hpp"
#include "approval_host/screens/Screen.hpp"

#include <poll.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace velmiro::host {

/// Accepts all connections immediately and has their questions answered one after another. Runs on
/// one thread, which blocks only in `poll` and where the screen does.
class Host {
public:
    /// The descriptors that the host reads; the caller owns them.
    struct Inputs {
        int listener; ///< non-blocking
        int stop;     ///< readable once a stop is requested
    };

    /// The caller owns the screen.
    Host(const Inputs& inputs, Screen& screen) noexcept : inputs_{inputs}, screen_{screen} {}

    /// Runs until a stop is requested or nobody can be asked any more. Then every open question is
    /// answered no.
    void run();

private:
    using Clock = std::chrono::steady_clock;

    void runOnce();
    std::vector<pollfd> waitForNews();
    void receive(Connection& connection);
    void refuseHalfQuestions();
    [[nodiscard]] Clock::duration patienceWithHalf() const noexcept;
    void forgetClosed();
    void letOthersWait();
    void acceptAll();
    void showNext();
    void take(Screen::Answer answer);
    void answerShown(bool allow);

    const Inputs inputs_;
    Screen& screen_;

    bool ended_ = false;
    std::vector<std::unique_ptr<Connection>> connections_; ///< in order of arrival
    std::deque<Connection*> queue_; ///< those with a question, in order of arrival
    Connection* shown_ = nullptr;   ///< the front of the queue while the user is asked
    std::optional<Clock::time_point> showAfter_;
    std::optional<Clock::time_point> acceptAfter_;
    bool othersWait_ = false; ///< in the kernel's queue, because there is no descriptor
};

} // namespace velmiro::host
