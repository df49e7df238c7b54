#include "velmiro_mcp/ports/ProgramStart.hpp"

#include "MCPStdio/transport/Descriptor.hpp"
#include "velmiro_mcp/base/ArgumentPointers.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"
#include "velmiro_mcp/base/SignalBlock.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

// `posix_spawn` would do, but it cannot set the soft limit of descriptors: setting ours around the
// call would starve the other threads, and setting the child's afterwards would be too late. `fork`
// first copies the page tables of all our memory, including the stacks of waiting threads: 0.5 ms
// for a small process, 15 ms with a thousand threads. `vfork` always takes 0.05 ms: the child
// borrows our memory while this thread, and no other, waits until the child has become the program.
// Until then, the child only makes system calls.

namespace velmiro {
namespace {

struct Program {
    const char* path;
    char* const* arguments;
    int output;
    int error;
    int report;   ///< receives errno if the program cannot be started
    pid_t parent; ///< this process
};

void resetSignals() noexcept {
    struct sigaction byDefault{};
    byDefault.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal) {
        ::sigaction(signal, &byDefault, nullptr); // fails for those that cannot be changed
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Marks every descriptor from 3 on close-on-exec, including those that a library, or another
/// thread a moment ago, opened without that flag.
void keepStandardDescriptorsOnly() noexcept {
    if (::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) == 0) {
        return;
    }
    // A kernel before 5.11. Limits of a billion exist; no process has that many open.
    constexpr rlim_t most = 65'536;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    for (int number = 3; number < static_cast<int>(std::min(limit.rlim_cur, most)); ++number) {
        ::fcntl(number, F_SETFD, FD_CLOEXEC);
    }
}

/// Asks the kernel to kill this process when the thread that started it ends. That thread waits for
/// it, so it ends only with its process.
void endWith(pid_t parent) noexcept {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) { // it has already ended
        ::_exit(127);
    }
}

[[noreturn]] void become(const Program& program) noexcept {
    resetSignals();
    endWith(program.parent);
    ::dup2(program.output, 1);
    ::dup2(program.error, 2);
    keepStandardDescriptorsOnly();
    restoreDescriptorLimit();
    ::execv(program.path, program.arguments);
    const int why = errno;
    static_cast<void>(::write(program.report, &why, sizeof why) == sizeof why);
    ::_exit(127);
}

pid_t startInOurMemory(const Program& program) {
    const SignalBlock blocked; // in our memory no handler of ours may run
    // NOLINTBEGIN(*.vfork, *.Vfork, bugprone-unsafe-functions): for the reasons above
    const pid_t child = ::vfork();
    if (child == 0) {
        become(program);
    }
    // NOLINTEND(*.vfork, *.Vfork, bugprone-unsafe-functions)
    return child;
}

[[noreturn]] void fail(int why) {
    throw std::system_error{why, std::system_category()};
}

} // namespace

pid_t startProgram(const std::string& path, std::vector<std::string> arguments, int output,
                   int error, std::chrono::seconds /*longest: it ends immediately*/) {
    const auto pointers = pointersTo(arguments);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        fail(errno);
    }
    const MCPStdio::Descriptor reading{ends[0]};
    pid_t child = -1;
    {
        const MCPStdio::Descriptor report{ends[1]};
        child = startInOurMemory(
            {path.c_str(), pointers.data(), output, error, report.get(), ::getpid()});
        if (child < 0) {
            fail(errno);
        }
    }
    int why = 0;
    if (::read(reading.get(), &why, sizeof why) == sizeof why) {
        ::waitpid(child, nullptr, 0);
        fail(why);
    }
    return child;
}

int openExitDescriptor(pid_t child) noexcept {
    return static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
}

} // namespace velmiro
