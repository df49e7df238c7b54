#include "MCPStdio/LineSink.hpp"

#include "MCPStdio/concurrency/DispatchQueue.hpp"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace MCPStdio {
namespace {

mode_t kindOf(int descriptor) {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

/// The output is lost. What the system does by default to one who writes where nobody reads is done
/// here also when the parent had that switched off.
[[noreturn]] void endProcess() {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    std::_Exit(EXIT_FAILURE);
}

bool isReady(int descriptor, int timeout) {
    pollfd writable{descriptor, POLLOUT, 0};
    return ::poll(&writable, 1, timeout) == 1;
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
    : descriptor_{descriptor},
      isSocket_{S_ISSOCK(kindOf(descriptor))},
      isPipe_{S_ISFIFO(kindOf(descriptor))} {}

void LineSink::send(TextBuffer line) {
    line.append('\n');
    const MutexLock lock{mutex_};
    std::size_t written = 0;
    if (!draining_) {
        written = writeSoon(line.view());
        if (written == line.size()) {
            return;
        }
        draining_ = true;
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

/// Writes as long as the reader at the other end makes room; gives back how much.
std::size_t LineSink::writeSoon(std::string_view text) const {
    constexpr int patience = 1; // milliseconds
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
#ifdef RWF_NOWAIT
    if (isPipe_) {
        const iovec piece{const_cast<char*>(text.data()), text.size()};
        const ssize_t written = ::pwritev2(descriptor_, &piece, 1, -1, RWF_NOWAIT);
        if (written >= 0 || errno != EOPNOTSUPP) {
            return taken(written);
        }
    }
#endif
    // A pipe or terminal that is ready has room for this much.
    if (text.size() <= PIPE_BUF && isReady(descriptor_, 0)) {
        return taken(::write(descriptor_, text.data(), text.size()));
    }
    return 0;
}

std::size_t LineSink::writeWaiting(std::string_view text) const {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        isReady(descriptor_, -1);
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
    }
}

} // namespace MCPStdio
