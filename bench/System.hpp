#pragma once

#include <filesystem>
#include <sys/types.h>

namespace velmiro::bench {

/// Keeps this process, and the children it starts from now on, on one CPU of those it may use.
/// Gives that CPU's number.
int stayOnOneCPU();

/// A clock that only goes forward, in seconds.
double seconds();

/// The CPU time this thread has used, in seconds. What other programs do at the same time is hardly
/// seen in it.
double threadSeconds();

/// The CPU time a running process has used, in seconds, all its threads together.
double processSeconds(pid_t process);

/// The most memory a running process has had at once, in bytes. What its parent had before the
/// process's program was loaded does not count (it does in what `wait4` tells).
double peakBytes(pid_t process);

/// The memory a running process has now, in bytes: the pages of its own and of its files that are
/// in memory.
double residentBytes(pid_t process);

/// How many threads a running process has now.
int threadsOf(pid_t process);

/// The folder in which this program lies.
std::filesystem::path programFolder();

} // namespace velmiro::bench
