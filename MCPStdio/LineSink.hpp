#pragma once

#include "MCPStdio/TextBuffer.hpp"
#include "MCPStdio/concurrency/Mutex.hpp"

#include <deque>
#include <string_view>

namespace MCPStdio {

/// Where lines go out, whole and in the order in which they were sent, from any thread.
///
/// A line is written at once, in one call, where there is room. Otherwise sending waits for the
/// reader at the other end, but for a moment only, or a host that writes many requests before it
/// reads one reply would stop both: a host that reads is followed at its pace; for one that does
/// not the lines are kept, and a thread of its own writes them as it finds room.
class LineSink {
public:
    /// Does not own the descriptor, which may be of any kind and blocking or not.
    explicit LineSink(int descriptor);

    /// Sends a line; the line feed is added here. When the other end is closed the process ends, as
    /// it would by default: there is nobody left to serve.
    void send(TextBuffer line);

    /// Waits until all lines have been written.
    void finish();

private:
    std::size_t writeSoon(std::string_view text) const;
    std::size_t writeAtOnce(std::string_view text) const;
    std::size_t writeWaiting(std::string_view text) const;
    void drain();

    const int descriptor_;
    const bool isSocket_;
    const bool isPipe_;
    Mutex mutex_;
    Condition drained_;
    struct Kept {
        TextBuffer line;
        std::size_t written;
    };
    std::deque<Kept> kept_ GUARDED_BY(mutex_);
    bool draining_ GUARDED_BY(mutex_) = false;
};

} // namespace MCPStdio
