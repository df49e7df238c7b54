#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "approval_host/LineBuffer.hpp"
#include "approval_host/question/Question.hpp"

#include <chrono>
#include <utility>

namespace velmiro::host {

/// The connection of one asker, which sends one question line and gets one reply line.
class Connection {
public:
    enum class News {
        none,     ///< nothing to act on
        question, ///< the question has just become complete
        over,     ///< the asker has hung up, or sent something other than a question
    };

    using Clock = std::chrono::steady_clock;

    /// Takes ownership of a non-blocking socket.
    explicit Connection(MCPStdio::Descriptor socket) noexcept : socket_{std::move(socket)} {}

    /// Reads some of what has arrived. Input after the question is read and dropped, so that the
    /// end of the stream is noticed.
    News receive();

    /// Sends the reply if the asker is still there, and closes the connection.
    void answer(bool allow) noexcept;

    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }
    [[nodiscard]] bool isClosed() const noexcept { return !socket_; }
    [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }
    [[nodiscard]] Clock::time_point begin() const noexcept { return begin_; }

    /// Returns the question; valid after `receive` has returned News::question.
    [[nodiscard]] const Question& question() const noexcept { return question_; }

private:
    static constexpr std::size_t longestLine = std::size_t{4} << 20U;

    MCPStdio::Descriptor socket_;
    Clock::time_point begin_ = Clock::now();
    LineBuffer line_{longestLine};
    bool isComplete_ = false;
    Question question_;
};

} // namespace velmiro::host
