#pragma once

#include <chrono>

namespace velmiro::local {

/// A lease on a file: while it is held nobody has the file open for writing, and whoever tries to
/// open it so waits, in the kernel, until it is given up. So what a program writes in place comes
/// either before a change, and is seen, or after it, and goes into the file that it asked for.
///
/// The kernel gives leases to the file's owner only, and not on every file system; without one the
/// change goes on as it would beside programs that replace files.
class ReadLease {
public:
    /// Takes a lease on the file behind a descriptor that was opened for reading only. While a
    /// program has it open for writing, waits for that, but no longer than `patience`.
    ReadLease(int file, std::chrono::milliseconds patience);
    ReadLease(const ReadLease&) = delete;
    ReadLease& operator=(const ReadLease&) = delete;
    ~ReadLease();

    /// Whether a program still had the file open for writing when patience was over.
    [[nodiscard]] bool isRefused() const noexcept { return state_ == State::refused; }

    /// Whether somebody waits to open the file for writing.
    [[nodiscard]] bool isBeingBroken() const noexcept;

private:
    enum class State { held, refused, unavailable };
    static State take(int file, std::chrono::milliseconds patience);

    int file_;
    State state_;
};

} // namespace velmiro::local
