#pragma once

#include "MCPStdio/concurrency/Mutex.hpp"
#include "MCPStdio/text/TextBuffer.hpp"

#include <deque>
#include <optional>
#include <string_view>

namespace MCPStdio {

/// Where lines go out, whole and in the order in which they were sent, from any thread.
///
/// A line is written at once, in one call, where there is room. Otherwise sending waits for the
/// reader at the other end, as long as it takes much in every moment: a host that reads sets the
/// pace, and no memory fills. For one that does not, or a host that writes many requests before it
/// reads one reply would stop both, lines are kept, and a thread of its own writes them as it finds
/// room.
class LineSink {
public:
    /// Does not own the descriptor, which may be of any kind and blocking or not.
    explicit LineSink(int descriptor);
    LineSink(const LineSink&) = delete;
    LineSink& operator=(const LineSink&) = delete;
    /// To be called when all lines have been written.
    ~LineSink();

    /// Sends a line; the line feed is added here. When the other end is closed the process ends, as
    /// it would by default: there is nobody left to serve.
    void send(TextBuffer line);

    /// Waits until all lines have been written.
    void finish();

private:
    void followReader() MCPSTDIO_REQUIRES(mutex_);
    std::size_t writeSoon(std::string_view text) const;
    std::size_t writeAtOnce(std::string_view text) const;
    std::size_t writeWaiting(std::string_view text) const;
    void drain();

    const std::optional<int> opened_; ///< a descriptor of its own that never blocks
    const int descriptor_;
    const bool isSocket_;
    Mutex mutex_;
    Condition drained_;
    struct Kept {
        TextBuffer line;
        std::size_t written;
    };
    std::deque<Kept> kept_ MCPSTDIO_GUARDED_BY(mutex_);
    bool
        draining_ MCPSTDIO_GUARDED_BY(mutex_) = false; ///< lines are kept, and a thread writes them
    std::size_t
        taken_ MCPSTDIO_GUARDED_BY(mutex_) = 0; ///< bytes of those, since they were waited for
};

} // namespace MCPStdio
