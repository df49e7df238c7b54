#pragma once

#include <filesystem>
#include <sys/types.h>

namespace velmiro::bench {

/// Pins this process, and children it starts later, to one of the CPUs it may use. Returns the
/// number of that CPU.
int stayOnOneCPU();

/// Returns the seconds of a monotonic clock.
double seconds();

/// Returns the CPU seconds that this thread has used. Other programs have little effect on them.
double threadSeconds();

/// Returns the CPU seconds that all threads of a running process have used.
double processSeconds(pid_t process);

/// Returns the high-water mark of a running process's resident memory, in bytes. Memory that its
/// parent had before the program was loaded is not included, unlike in the result of `wait4`.
double peakBytes(pid_t process);

/// Returns the resident memory of a running process, in bytes: its own pages and those of its
/// files.
double residentBytes(pid_t process);

/// Returns the number of threads of a running process.
int threadsOf(pid_t process);

/// Returns the folder that contains this program.
std::filesystem::path programFolder();

} // namespace velmiro::bench
