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

/// Accepts all connections immediately and has their questions answered one after another. Runs on
/// one thread, which blocks only in `poll` and while writing to a terminal that is stopped.
class Host {
public:
    /// The descriptors that the host reads; the caller owns them.
    struct Inputs {
        int listener; ///< non-blocking
        int typed;    ///< the user's input; not read if a policy answers
        int stop;     ///< readable once a stop is requested
    };

    Host(const Inputs& inputs, const Output& output, Policy policy);

    /// Runs until a stop is requested, the typed input ends, or the output can no longer be
    /// written. Then every open question is answered no.
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
    Connection* shown_ = nullptr;   ///< the front of the queue while the user is asked
    TypedLines typed_;
    std::optional<Clock::time_point> showAfter_;
    std::optional<Clock::time_point> acceptAfter_;
    bool othersWait_ = false; ///< in the kernel's queue, because there is no descriptor
};

} // namespace velmiro::host
