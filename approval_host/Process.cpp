#include "approval_host/Process.hpp"

#include "approval_host/HostError.hpp"

#include <fcntl.h>

#include <array>
#include <atomic>
#include <csignal>

namespace velmiro::host {

namespace {

constexpr std::array stopping{SIGINT, SIGTERM, SIGHUP};

std::atomic<int> signalled{-1};

extern "C" void noteSignal(int /*signal*/) {
    const int before = errno;
    const char byte = 0;
    // If the pipe is full, it is readable already.
    static_cast<void>(::write(signalled.load(), &byte, 1) == 1);
    errno = before;
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
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw HostError{"cannot make a pipe: " + systemReason()};
    }
    readEnd_ = MCPStdio::Descriptor{ends[0]};
    writeEnd_ = MCPStdio::Descriptor{ends[1]};
    ::fcntl(writeEnd_.get(), F_SETFL, O_NONBLOCK);
    signalled = writeEnd_.get();

    struct sigaction action{};
    action.sa_handler = noteSignal;
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
        if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == noteSignal) {
            std::signal(signal, SIG_DFL);
        }
    }
}

} // namespace velmiro::host
