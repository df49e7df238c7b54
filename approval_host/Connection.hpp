#pragma once

#include "MCPStdio/transport/Descriptor.hpp"
#include "approval_host/LineBuffer.hpp"
#include "approval_host/Question.hpp"

#include <chrono>
#include <utility>

namespace velmiro::host {

/// One asker: sends one question line, gets one reply line.
class Connection {
public:
    enum class News {
        none,     ///< nothing that matters
        question, ///< the question has just become complete
        over,     ///< the asker has hung up, or what it sent is no question
    };

    using Clock = std::chrono::steady_clock;

    /// The socket does not block.
    explicit Connection(MCPStdio::Descriptor socket) noexcept : socket_{std::move(socket)} {}

    /// Reads a part of what has come. What follows the question is read and dropped, so that the
    /// end behind it is seen.
    News receive();

    /// Sends the reply, as far as there is somebody to take it, and closes the connection.
    void answer(bool allow) noexcept;

    [[nodiscard]] int descriptor() const noexcept { return socket_.get(); }
    [[nodiscard]] bool isClosed() const noexcept { return !socket_; }
    [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }
    [[nodiscard]] Clock::time_point begin() const noexcept { return begin_; }

    /// There is one once `receive` said so.
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
