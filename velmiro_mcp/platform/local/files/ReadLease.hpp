#pragma once

#include <chrono>

namespace velmiro::local {

/// A read lease on a file: while it is held, no program has the file open for writing, and one that
/// tries waits in the kernel until the lease is released. So what a program writes in place comes
/// either before a change, and is seen, or after it, and goes into the new file.
///
/// The kernel grants leases only to the file's owner, and not on every file system. Without one, a
/// change is protected only against programs that replace files.
class ReadLease {
public:
    /// Takes a lease on a file that was opened for reading only. While another program has it open
    /// for writing, waits, but at most for `patience`. The descriptor must outlive this object.
    ReadLease(int file, std::chrono::milliseconds patience);
    ReadLease(const ReadLease&) = delete;
    ReadLease& operator=(const ReadLease&) = delete;
    ~ReadLease();

    /// Returns whether another program still had the file open for writing after `patience`.
    [[nodiscard]] bool isRefused() const noexcept { return state_ == State::refused; }

    /// Returns whether another program is waiting to open the file for writing.
    [[nodiscard]] bool isBeingBroken() const noexcept;

private:
    enum class State { held, refused, unavailable };
    static State take(int file, std::chrono::milliseconds patience);

    int file_;
    State state_;
};

} // namespace velmiro::local
