#include "MCPStdio/transport/LineSink.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace MCPStdio {
namespace {

using Clock = std::chrono::steady_clock;

/// How long the reader may take nothing before lines are queued for it. Not shorter than the
/// system's tick: programming a finer timer each time the pipe is full would cost more than a
/// reply.
constexpr auto stall = std::chrono::milliseconds{10};
/// The sender waits for a reader that takes this much in that time, about what a pipe holds.
constexpr std::size_t goodPace = std::size_t{64} << 10U;

mode_t kindOf(int descriptor) {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

/// Opens a second, nonblocking descriptor for the same pipe: the flags of the given one are shared
/// with the parent, so they are not ours to change. Returns none if it is no pipe, or if the system
/// cannot open descriptors by such names; then writing asks for room first.
Descriptor openNonblocking(int descriptor) {
    if (!S_ISFIFO(kindOf(descriptor))) {
        return Descriptor{};
    }
    const auto name = "/proc/self/fd/" + std::to_string(descriptor);
    return Descriptor{::open(name.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)};
}

/// Makes a write to a socket without room give up after a moment. For a single one MSG_DONTWAIT
/// would say so, but macOS ignores it for sending; and O_NONBLOCK is shared with the parent.
/// Returns false if it is no socket.
bool giveUpSoon(int descriptor) {
    const timeval moment{0, 1'000}; // microseconds; or the system's tick, if that is longer
    return S_ISSOCK(kindOf(descriptor)) &&
           ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &moment, sizeof moment) == 0;
}

/// Ends the process as the system does by default when a pipe has no reader, even if the parent had
/// SIGPIPE ignored: the output is lost.
[[noreturn]] void endProcess() {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    std::_Exit(EXIT_FAILURE);
}

bool isReady(int descriptor, std::chrono::milliseconds timeout) {
    pollfd writable{descriptor, POLLOUT, 0};
    return ::poll(&writable, 1, static_cast<int>(timeout.count())) == 1;
}

/// Returns how many bytes a call wrote: 0 after a temporary failure. A permanent one ends the
/// process.
std::size_t bytesOf(ssize_t written) {
    if (written >= 0) {
        return static_cast<std::size_t>(written);
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) {
        return 0;
    }
    endProcess();
}

} // namespace

LineSink::LineSink(int descriptor)
    : nonblocking_{openNonblocking(descriptor)},
      descriptor_{nonblocking_ ? nonblocking_.get() : descriptor},
      returnsSoon_{nonblocking_ || giveUpSoon(descriptor)} {}

void LineSink::send(TextBuffer line) {
    line.append('\n');
    const MutexLock lock{mutex_};
    followReader();
    std::size_t written = 0;
    if (!draining_) {
        written = writeWhileReaderKeepsUp(line.view());
        if (written == line.size()) {
            return;
        }
    }
    enqueue(std::move(line), written);
}

/// Leaves the rest of a line to the thread that writes the queue. If there is no memory for the
/// queue, waits until it is empty and writes the rest here: a line must not remain incomplete.
void LineSink::enqueue(TextBuffer line, std::size_t written) {
    try {
        queue_.emplace_back();
    } catch (const std::bad_alloc&) {
        while (draining_) {
            drained_.wait(mutex_);
        }
        writeAll(line.view().substr(written));
        return;
    }
    queue_.back() = {std::move(line), written};
    if (!draining_) {
        draining_ = true;
        taken_ = 0;
        DispatchQueue::global().asyncBlocking(static_cast<Job&>(drainingJob_));
    }
}

void LineSink::finish() {
    const MutexLock lock{mutex_};
    while (draining_) {
        drained_.wait(mutex_);
    }
}

/// Waits until a reader that takes queued lines at a good pace has them all. Otherwise a server
/// that once queued a line might queue all later ones as well, each by way of another thread. A
/// slow reader holds nobody up.
void LineSink::followReader() {
    while (draining_ && taken_ >= goodPace) {
        taken_ = 0;
        drained_.waitUntil(mutex_, Clock::now() + stall);
    }
}

/// Writes as long as the reader makes room, and returns how many bytes it wrote.
std::size_t LineSink::writeWhileReaderKeepsUp(std::string_view text) const {
    std::size_t written = writeWithoutBlocking(text);
    while (written < text.size() && isReady(descriptor_, stall)) {
        const std::size_t more = writeWithoutBlocking(text.substr(written));
        if (more == 0) {
            break;
        }
        written += more;
    }
    return written;
}

/// Writes what fits now or in a moment, which may be all of `text` or nothing.
std::size_t LineSink::writeWithoutBlocking(std::string_view text) const {
    if (returnsSoon_) {
        return bytesOf(::write(descriptor_, text.data(), text.size()));
    }
    // A pipe or terminal that is ready for writing has room for this much.
    if (text.size() <= PIPE_BUF && isReady(descriptor_, std::chrono::milliseconds{0})) {
        return bytesOf(::write(descriptor_, text.data(), text.size()));
    }
    return 0;
}

std::size_t LineSink::writeBlocking(std::string_view text) const {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        isReady(descriptor_, std::chrono::milliseconds{-1});
        return 0;
    }
    return bytesOf(written);
}

void LineSink::writeAll(std::string_view text) const {
    while (!text.empty()) {
        text.remove_prefix(writeBlocking(text));
    }
}

/// Writes the queue on a thread of its own. While it runs, no other thread writes.
void LineSink::drain() {
    while (true) {
        QueuedLine next;
        {
            const MutexLock lock{mutex_};
            if (queue_.empty()) {
                draining_ = false;
                drained_.notifyAll();
                return;
            }
            next = std::move(queue_.front());
            queue_.pop_front();
        }
        writeAll(next.line.view().substr(next.written));
        const MutexLock lock{mutex_};
        taken_ += next.line.size();
    }
}

} // namespace MCPStdio
