#pragma once

#include "approval_host/CommandLine.hpp"
#include "approval_host/Connection.hpp"
#include "approval_host/Output.hpp"
#include "approval_host/TypedLines.hpp"

#include <poll.h>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace velmiro::host {

/// Takes every connection at once, and has one question after the other answered. One thread runs
/// all of it; nothing here blocks but `poll`, and writing to a terminal that is held.
class Host {
public:
    /// What the host listens to; all stay the caller's.
    struct Inputs {
        int listener; ///< does not block
        int typed;    ///< what the user types; not read when nobody is asked
        int stop;     ///< readable once the program is to end
    };

    Host(const Inputs& inputs, const Output& output, Policy policy);

    /// Runs until the program is to end, the typed input ends or nobody can read the output. Then
    /// every open question is answered no.
    void run();

private:
    using Clock = std::chrono::steady_clock;

    void runOnce();
    std::vector<pollfd> waitForNews();
    void receive(Connection& connection);
    void decide(Connection& connection);
    void refuseHalfQuestions();
    [[nodiscard]] Clock::duration patienceWithHalf() const noexcept;
    void forgetClosed();
    void acceptAll();
    void showNext();
    void readTyped();
    void dropTyped();
    void answerShown(bool allow);
    void print(std::string_view text);
    [[nodiscard]] Style style() const;

    const Inputs inputs_;
    const Output& output_;
    const Policy policy_;
    const bool typedIsTerminal_;

    bool ended_ = false;
    std::vector<std::unique_ptr<Connection>> connections_; ///< in order of arrival
    std::deque<Connection*> queue_; ///< those with a question, in order of arrival
    Connection* shown_ = nullptr;   ///< the first of the queue while the user is asked
    TypedLines typed_;
    std::optional<Clock::time_point> showAfter_;
    std::optional<Clock::time_point> acceptAfter_;
    bool othersWait_ = false; ///< in the kernel's queue, for want of descriptors
};

} // namespace velmiro::host
