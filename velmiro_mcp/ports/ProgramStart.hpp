#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

/// The port that starts child processes.
namespace velmiro {

/// Starts a program with `arguments`, its own name first, and returns its process, which the caller
/// reaps.
///
/// The program inherits standard input, and gets `output` and `error` as its other two descriptors
/// and no more, whatever else is open or is being opened meanwhile. Its signals are unblocked and
/// have their default actions; its soft limit of descriptors is the one this process was started
/// with; environment and working folder are ours. Throws std::system_error if the program cannot be
/// started. Safe to use from several threads at once.
///
/// However this process ends, the program ends at most `longest` later. The calling thread must
/// stay until the program is reaped: on one system the thread's end counts as the process's.
pid_t startProgram(const std::string& path, std::vector<std::string> arguments, int output,
                   int error, std::chrono::seconds longest = std::chrono::minutes{1});

/// Returns a descriptor that becomes readable when a child ends, before it is reaped; the caller
/// closes it. Negative if none is available.
int openExitDescriptor(pid_t child) noexcept;

} // namespace velmiro
