#include "MCPStdio/transport/LineSink.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MCPStdio {
namespace {

using Clock = std::chrono::steady_clock;

/// How long the reader may take nothing before lines are kept for it. It is no shorter than the
/// system's own tick: a timer of its own, each time the pipe is full, would cost more than a reply.
constexpr auto patience = std::chrono::milliseconds{10};
/// A reader that takes this much in that time, about what a pipe holds, is waited for.
constexpr std::size_t goodPace = std::size_t{64} << 10U;

mode_t kindOf(int descriptor) {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

/// A further descriptor for the same pipe, one that never blocks. The flags of the one that was
/// given are not ours: they are the parent's too. Nothing for what is no pipe, or where the system
/// does not open descriptors by such names; what waits there asks before it writes.
std::optional<int> openWithoutBlocking(int descriptor) {
    if (!S_ISFIFO(kindOf(descriptor))) {
        return std::nullopt;
    }
    const auto name = "/proc/self/fd/" + std::to_string(descriptor);
    const int opened = ::open(name.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    return opened < 0 ? std::nullopt : std::optional{opened};
}

/// The output is lost. What the system does by default to one who writes where nobody reads is done
/// here also when the parent had that switched off.
[[noreturn]] void endProcess() {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    std::_Exit(EXIT_FAILURE);
}

bool isReady(int descriptor, std::chrono::milliseconds timeout) {
    pollfd writable{descriptor, POLLOUT, 0};
    return ::poll(&writable, 1, static_cast<int>(timeout.count())) == 1;
}

/// How much of `text` was written: nothing when the call failed for now, the end when for good.
std::size_t taken(ssize_t written) {
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
    : opened_{openWithoutBlocking(descriptor)},
      descriptor_{opened_.value_or(descriptor)},
      isSocket_{S_ISSOCK(kindOf(descriptor))} {}

LineSink::~LineSink() {
    if (opened_) {
        ::close(*opened_);
    }
}

void LineSink::send(TextBuffer line) {
    line.append('\n');
    const MutexLock lock{mutex_};
    followReader();
    std::size_t written = 0;
    if (!draining_) {
        written = writeSoon(line.view());
        if (written == line.size()) {
            return;
        }
        draining_ = true;
        taken_ = 0;
        DispatchQueue::global().asyncBlocking([this] { drain(); });
    }
    kept_.push_back({std::move(line), written});
}

void LineSink::finish() {
    const MutexLock lock{mutex_};
    while (draining_) {
        drained_.wait(mutex_);
    }
}

/// Waits for a reader that takes kept lines at a good pace until it has them all. Without this a
/// server that once kept a line could go on to keep as many as there are, each by way of another
/// thread. A slow reader holds nobody up.
void LineSink::followReader() {
    while (draining_ && taken_ >= goodPace) {
        taken_ = 0;
        drained_.waitUntil(mutex_, Clock::now() + patience);
    }
}

/// Writes as long as the reader at the other end makes room; gives back how much.
std::size_t LineSink::writeSoon(std::string_view text) const {
    std::size_t written = writeAtOnce(text);
    while (written < text.size() && isReady(descriptor_, patience)) {
        const std::size_t more = writeAtOnce(text.substr(written));
        if (more == 0) {
            break;
        }
        written += more;
    }
    return written;
}

/// Writes without blocking, at best all of `text`, at worst nothing.
std::size_t LineSink::writeAtOnce(std::string_view text) const {
    if (isSocket_) {
        return taken(::send(descriptor_, text.data(), text.size(), MSG_DONTWAIT));
    }
    if (opened_) {
        return taken(::write(descriptor_, text.data(), text.size()));
    }
    // A pipe or terminal that is ready has room for this much.
    if (text.size() <= PIPE_BUF && isReady(descriptor_, std::chrono::milliseconds{0})) {
        return taken(::write(descriptor_, text.data(), text.size()));
    }
    return 0;
}

std::size_t LineSink::writeWaiting(std::string_view text) const {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        isReady(descriptor_, std::chrono::milliseconds{-1});
        return 0;
    }
    return taken(written);
}

/// Runs on a thread of its own while lines are kept. Only this thread writes then.
void LineSink::drain() {
    while (true) {
        Kept next;
        {
            const MutexLock lock{mutex_};
            if (kept_.empty()) {
                draining_ = false;
                drained_.notifyAll();
                return;
            }
            next = std::move(kept_.front());
            kept_.pop_front();
        }
        for (auto rest = next.line.view().substr(next.written); !rest.empty();) {
            rest.remove_prefix(writeWaiting(rest));
        }
        const MutexLock lock{mutex_};
        taken_ += next.line.size();
    }
}

} // namespace MCPStdio
