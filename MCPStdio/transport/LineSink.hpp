#pragma once

#include "MCPStdio/concurrency/DispatchQueue.hpp"
#include "MCPStdio/concurrency/Mutex.hpp"
#include "MCPStdio/text/TextBuffer.hpp"
#include "MCPStdio/transport/Descriptor.hpp"

#include <cstddef>
#include <deque>
#include <string_view>

namespace MCPStdio {

/// Writes lines to a descriptor, whole and in the order in which they were sent, from any thread.
///
/// If there is room, a line is written immediately, with one system call. Otherwise the sender
/// waits as long as the reader keeps taking data at a good pace: it sets the pace, and memory does
/// not fill. If the reader stalls, lines are queued, and a thread of their own writes them as it
/// finds room; otherwise a host that writes many requests before it reads one reply would deadlock
/// with us.
class LineSink {
public:
    /// Does not own the descriptor, which may be of any kind, blocking or not.
    explicit LineSink(int descriptor);
    LineSink(const LineSink&) = delete;
    LineSink& operator=(const LineSink&) = delete;
    /// All lines must have been written: call `finish` before.
    ~LineSink() = default;

    /// Sends a line and appends the line feed. If the other end is closed, the process ends, as it
    /// would by default: there is nobody left to serve. Throws std::bad_alloc if the line feed does
    /// not fit; then nothing is sent.
    void send(TextBuffer line);

    /// Waits until all lines have been written.
    void finish();

private:
    struct QueuedLine {
        TextBuffer line;
        std::size_t written;
    };
    /// Runs `drain`. A member, so that a line which is partly written never lacks the memory to be
    /// finished.
    class Draining final : public Job {
    public:
        explicit Draining(LineSink& sink) : sink_{sink} {}
        void run() noexcept override { sink_.drain(); }

    private:
        LineSink& sink_;
    };

    void enqueue(TextBuffer line, std::size_t written) MCPSTDIO_REQUIRES(mutex_);
    void followReader() MCPSTDIO_REQUIRES(mutex_);
    std::size_t writeWhileReaderKeepsUp(std::string_view text) const;
    std::size_t writeWithoutBlocking(std::string_view text) const;
    std::size_t writeBlocking(std::string_view text) const;
    void writeAll(std::string_view text) const;
    void drain();

    const Descriptor nonblocking_; ///< our own descriptor for the same pipe; none if it is no pipe
    const int descriptor_;
    const bool returnsSoon_; ///< from a write for which there is no room
    Draining drainingJob_{*this};
    Mutex mutex_;
    Condition drained_; ///< the queue is empty, or the reader has taken a line
    std::deque<QueuedLine> queue_ MCPSTDIO_GUARDED_BY(mutex_);
    bool draining_ MCPSTDIO_GUARDED_BY(mutex_) = false; ///< a thread writes the queue
    std::size_t taken_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< bytes of it since last waited for
};

} // namespace MCPStdio
