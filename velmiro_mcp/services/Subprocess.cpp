#include "velmiro_mcp/services/Subprocess.hpp"

#include "velmiro_mcp/base/ChildExit.hpp"
#include "velmiro_mcp/ports/ProgramStart.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace velmiro {

using namespace std::chrono_literals;

// A child started by another thread before the flag is set does not get them either: `startProgram`
// passes on nothing but the two descriptors it is given.
Subprocess::Pipe::Pipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw std::system_error{errno, std::system_category()};
    }
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    reading = MCPStdio::Descriptor{ends[0]};
    writing = MCPStdio::Descriptor{ends[1]};
}

Subprocess::Subprocess(const std::string& program, std::vector<std::string> arguments,
                       std::chrono::seconds longest) {
    stopIgnoringChildren();
    child_ = startProgram(program, std::move(arguments), output_.writing.get(),
                          error_.writing.get(), longest);
    output_.writing.close();
    error_.writing.close();
}

Subprocess::~Subprocess() {
    if (!reaped_) {
        ::kill(child_, SIGTERM);
        reap();
    }
}

void Subprocess::terminateAt(Clock::time_point deadline, std::function<void()> passed) {
    deadline_ = deadline;
    passed_ = std::move(passed);
}

std::string Subprocess::readToEnd(const Pipe& pipe) {
    std::string text;
    std::array<char, 65'536> chunk{}; // as much as a pipe holds
    while (true) {
        awaitReadable(pipe.reading.get());
        const ssize_t count = ::read(pipe.reading.get(), chunk.data(), chunk.size());
        if (count > 0) {
            text.append(chunk.data(), static_cast<std::size_t>(count));
        } else if (count == 0) {
            return text;
        } else if (errno != EINTR) {
            throw std::system_error{errno, std::system_category()};
        }
    }
}

bool Subprocess::waitUntilExit() {
    if (isRunning()) {
        if (const MCPStdio::Descriptor exit{openExitDescriptor(child_)}) {
            awaitReadable(exit.get());
        }
        while (isRunning()) { // there was no descriptor left
            static_cast<void>(untilDeadline());
            std::this_thread::sleep_for(10ms);
        }
    }
    const int status = reap();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Waits until there is something to read, or the end of the stream. May return earlier.
void Subprocess::awaitReadable(int descriptor) {
    pollfd readable{descriptor, POLLIN, 0};
    while (::poll(&readable, 1, untilDeadline()) <= 0) {
    }
}

/// Returns the milliseconds left until the deadline. At the deadline, terminates the child and
/// calls `passed_`; after that, or without a deadline, returns -1.
int Subprocess::untilDeadline() {
    if (deadline_ != Clock::time_point::max()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
        if (left > 0ms) {
            return static_cast<int>(std::min(left, std::chrono::milliseconds{1h}).count());
        }
        deadline_ = Clock::time_point::max();
        if (isRunning()) {
            ::kill(child_, SIGTERM);
        }
        if (const auto passed = std::exchange(passed_, nullptr)) {
            passed();
        }
    }
    return -1;
}

bool Subprocess::isRunning() const noexcept {
    siginfo_t ended{};
    const int result =
        ::waitid(P_PID, static_cast<id_t>(child_), &ended, WEXITED | WNOHANG | WNOWAIT);
    return result == 0 && ended.si_pid == 0;
}

int Subprocess::reap() noexcept {
    int status = -1;
    while (::waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return status;
}

} // namespace velmiro
