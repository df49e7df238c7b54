#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// Which calls of a program under test fail, in memory that the program shares with the test. So a
// test can let one call after the other fail without starting a program for each.

namespace velmiro::test {

/// The families of calls that are counted, one bit for each.
enum class Call : std::uint32_t {
    none = 0, ///< never selected
    open = 1U << 0U,
    close = 1U << 1U,
    read = 1U << 2U,      ///< from regular files
    write = 1U << 3U,     ///< to regular files
    flush = 1U << 4U,     ///< fsync
    rename = 1U << 5U,    ///< also the exchange of two names
    link = 1U << 6U,      ///< linkat
    unlink = 1U << 7U,    ///< also rmdir
    mkdir = 1U << 8U,     ///< also fchmod
    list = 1U << 9U,      ///< of folders
    stat = 1U << 10U,     ///< all of its kinds, access, realpath and readlink
    lock = 1U << 11U,     ///< flock
    control = 1U << 12U,  ///< fcntl
    map = 1U << 13U,      ///< mmap
    input = 1U << 14U,    ///< reading standard input, unless that is a file
    receive = 1U << 15U,  ///< reading other pipes and sockets
    output = 1U << 16U,   ///< writing to pipes
    poll = 1U << 17U,     ///< poll
    socket = 1U << 18U,   ///< making one
    connect = 1U << 19U,  ///< a socket
    send = 1U << 20U,     ///< to a socket
    pipe = 1U << 21U,     ///< making one
    spawn = 1U << 22U,    ///< vfork, posix_spawn
    wait = 1U << 23U,     ///< for a child process
    thread = 1U << 24U,   ///< pthread_create
    allocate = 1U << 25U, ///< operator new
    heap = 1U << 26U,     ///< malloc and its kind
};

constexpr std::uint32_t operator|(Call left, Call right) {
    return static_cast<std::uint32_t>(left) | static_cast<std::uint32_t>(right);
}

/// What happens at a call that is selected.
enum class Effect : std::uint8_t {
    error,      ///< it fails
    partial,    ///< it reads or writes half of what was asked for
    killBefore, ///< the process is killed instead
    killHalf,   ///< the process is killed after half of a write, other calls are made
    killAfter,  ///< the process is killed after the call
    killParent, ///< the parent is killed before the call
};

/// The plan as the test writes it and the library reads it. The test changes it only while it is
/// not armed, except for the counters.
struct Plan {
    std::atomic<bool> isArmed;
    std::atomic<bool> isRecording; ///< changes of files are appended to `record`
    std::atomic<bool> changed;     ///< two names were exchanged, or a name became visible
    std::atomic<int> counted;      ///< calls of the families since the plan was armed
    std::atomic<int> failed;       ///< those that did not go through untouched

    std::uint32_t calls;
    int error;                    ///< errno
    Effect effect;                ///< what happens to each of the selected calls
    bool afterChange;             ///< counting begins once `changed` is set
    int skip;                     ///< the number of calls that succeed first
    int count;                    ///< the number of selected calls that follow
    int exchangeError;            ///< errno where names cannot be exchanged, else 0
    int namelessError;            ///< errno where files without names are not supported, else 0
    std::array<char, 64> part;    ///< only calls on paths that contain it count, unless empty
    std::array<char, 32> program; ///< only calls of the program of this name, unless empty
    std::array<char, 256> record; ///< the path of the record
};

} // namespace velmiro::test
