#include "approval_host/process/Process.hpp"

#include "approval_host/process/HostError.hpp"

#include <fcntl.h>

#include <array>
#include <atomic>
#include <csignal>

namespace velmiro::host {

namespace {

constexpr std::array stopping{SIGINT, SIGTERM, SIGHUP};

/// Where the handlers of signals write to.
std::atomic<int> stopRequested{-1};
std::atomic<int> childEnded{-1};

void note(int descriptor) {
    const int before = errno;
    const char byte = 0;
    // If the pipe is full, it is readable already.
    static_cast<void>(::write(descriptor, &byte, 1) == 1);
    errno = before;
}

extern "C" void noteStop(int /*signal*/) {
    note(stopRequested);
}

extern "C" void noteChild(int /*signal*/) {
    note(childEnded);
}

/// Makes a pipe that no other program inherits and that never blocks.
void makePipe(MCPStdio::Descriptor& readEnd, MCPStdio::Descriptor& writeEnd) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw HostError{"cannot make a pipe: " + systemReason()};
    }
    readEnd = MCPStdio::Descriptor{ends[0]};
    writeEnd = MCPStdio::Descriptor{ends[1]};
    for (const int end : ends) {
        ::fcntl(end, F_SETFL, O_NONBLOCK);
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
}

} // namespace

void openStandardDescriptors() noexcept {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            // `open` returns the lowest free number, which is this one.
            static_cast<void>(::open("/dev/null", O_RDWR));
        }
    }
}

StopSignals::StopSignals() {
    makePipe(readEnd_, writeEnd_);
    stopRequested = writeEnd_.get();

    struct sigaction action{};
    action.sa_handler = noteStop;
    sigemptyset(&action.sa_mask); // a macro on some systems
    for (const int signal : stopping) {
        struct sigaction before{};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            ::sigaction(signal, &action, nullptr);
        }
    }
}

StopSignals::~StopSignals() {
    for (const int signal : stopping) {
        struct sigaction current{};
        if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == noteStop) {
            std::signal(signal, SIG_DFL);
        }
    }
}

ChildSignal::ChildSignal() {
    makePipe(readEnd_, writeEnd_);
    childEnded = writeEnd_.get();
    struct sigaction action{};
    action.sa_handler = noteChild;
    action.sa_flags = SA_NOCLDSTOP | SA_RESTART;
    sigemptyset(&action.sa_mask); // a macro on some systems
    ::sigaction(SIGCHLD, &action, nullptr);
}

ChildSignal::~ChildSignal() {
    std::signal(SIGCHLD, SIG_DFL);
}

void ChildSignal::clear() const noexcept {
    std::array<char, 64> bytes;
    while (::read(readEnd_.get(), bytes.data(), bytes.size()) > 0) {
    }
}

} // namespace velmiro::host
