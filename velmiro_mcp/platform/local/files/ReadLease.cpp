#include "velmiro_mcp/platform/local/files/ReadLease.hpp"

#include <cerrno>
#include <csignal>
#include <thread>

#include <fcntl.h>

namespace velmiro::local {

ReadLease::ReadLease(int file, std::chrono::milliseconds patience)
    : file_{file},
      state_{take(file, patience)} {}

ReadLease::~ReadLease() {
    if (state_ == State::held) {
        fcntl(file_, F_SETLEASE, F_UNLCK);
    }
}

ReadLease::State ReadLease::take(int file, std::chrono::milliseconds patience) {
    // The kernel notifies the holder of a waiting program by SIGIO, which would kill this process.
    // SIGURG is ignored by default; `isBeingBroken` polls instead.
    if (fcntl(file, F_SETSIG, SIGURG) != 0) {
        return State::unavailable;
    }
    constexpr std::chrono::milliseconds pause{1};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (fcntl(file, F_SETLEASE, F_RDLCK) != 0) {
        if (errno != EAGAIN) {
            return State::unavailable;
        }
        if (std::chrono::steady_clock::now() >= end) {
            return State::refused;
        }
        std::this_thread::sleep_for(pause);
    }
    return State::held;
}

bool ReadLease::isBeingBroken() const noexcept {
    return state_ == State::held && fcntl(file_, F_GETLEASE) != F_RDLCK;
}

} // namespace velmiro::local
