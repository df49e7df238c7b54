#include "bench/System.hpp"

#include <cerrno>
#include <ctime>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <string>
#include <system_error>

namespace velmiro::bench {
namespace {

double read(clockid_t clock) {
    timespec now{};
    if (::clock_gettime(clock, &now) != 0) {
        throw std::system_error{errno, std::generic_category(), "clock_gettime"};
    }
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Returns the number after a word in a file of the process in /proc.
double numberIn(pid_t process, const std::string& file, const std::string& name) {
    std::ifstream told{"/proc/" + std::to_string(process) + "/" + file};
    for (std::string word; told >> word;) {
        if (word == name) {
            double number = 0;
            told >> number;
            return number;
        }
    }
    throw std::runtime_error{"/proc tells no " + name + " of process " + std::to_string(process)};
}

} // namespace

int stayOnOneCPU() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (::sched_getaffinity(0, sizeof allowed, &allowed) != 0) {
        throw std::system_error{errno, std::generic_category(), "sched_getaffinity"};
    }
    int last = CPU_SETSIZE - 1; // the first one does most of the system's own work
    while (last > 0 && !CPU_ISSET(last, &allowed)) {
        --last;
    }
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(last, &one);
    if (::sched_setaffinity(0, sizeof one, &one) != 0) {
        throw std::system_error{errno, std::generic_category(), "sched_setaffinity"};
    }
    return last;
}

double seconds() {
    return read(CLOCK_MONOTONIC);
}

double threadSeconds() {
    return read(CLOCK_THREAD_CPUTIME_ID);
}

double processSeconds(pid_t process) {
    clockid_t clock{};
    if (const int error = ::clock_getcpuclockid(process, &clock); error != 0) {
        throw std::system_error{error, std::generic_category(), "clock_getcpuclockid"};
    }
    return read(clock);
}

double peakBytes(pid_t process) {
    return numberIn(process, "status", "VmHWM:") * 1024;
}

double residentBytes(pid_t process) {
    // The counters in `status` and `statm` lag by dozens of pages per thread.
    return numberIn(process, "smaps_rollup", "Rss:") * 1024;
}

int threadsOf(pid_t process) {
    return static_cast<int>(numberIn(process, "status", "Threads:"));
}

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

} // namespace velmiro::bench
