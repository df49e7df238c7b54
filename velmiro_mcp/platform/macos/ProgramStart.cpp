#include "velmiro_mcp/ports/ProgramStart.hpp"

#include "MCPStdio/transport/Descriptor.hpp"
#include "velmiro_mcp/base/ArgumentPointers.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"
#include "velmiro_mcp/base/SignalBlock.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <sys/event.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

// `posix_spawn` alone would do, were it not for the soft limit of descriptors: it cannot set one,
// and lowering ours around it would starve the other threads. So a forked child lowers its own and
// then becomes the program, by a `posix_spawn` that replaces the caller. That is the system's way
// to start a program without any descriptors but those named.

extern "C" char** environ; // POSIX leaves its declaration to the program

namespace velmiro {
namespace {

using MCPStdio::Descriptor;

[[noreturn]] void fail(int why) {
    throw std::system_error{why, std::system_category()};
}

void check(int error) {
    if (error != 0) {
        fail(error);
    }
}

/// Attributes of the new program: default signal actions, no signal blocked, no descriptors but
/// those named; it replaces the caller.
class Attributes {
public:
    Attributes() {
        check(::posix_spawnattr_init(&attributes_));
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        sigdelset(&all, SIGKILL);
        sigdelset(&all, SIGSTOP);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        ::posix_spawnattr_setsigdefault(&attributes_, &all);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETEXEC | POSIX_SPAWN_CLOEXEC_DEFAULT |
                                                     POSIX_SPAWN_SETSIGMASK |
                                                     POSIX_SPAWN_SETSIGDEF);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    [[nodiscard]] const posix_spawnattr_t* get() const noexcept { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/// The program's three descriptors.
class Actions {
public:
    Actions(int output, int error) {
        check(::posix_spawn_file_actions_init(&actions_));
        ::posix_spawn_file_actions_addinherit_np(&actions_, STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions_, output, 1);
        ::posix_spawn_file_actions_adddup2(&actions_, error, 2);
    }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;
    ~Actions() { ::posix_spawn_file_actions_destroy(&actions_); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const noexcept { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/// The pipe by which the child reports that it runs, and why it could not become the program. If it
/// could, its end of the pipe was closed on the way.
class ReportPipe {
public:
    ReportPipe() {
        std::array<int, 2> ends{};
        check(::pipe(ends.data()) == 0 ? 0 : errno);
        for (const int end : ends) {
            ::fcntl(end, F_SETFD, FD_CLOEXEC);
        }
        reading_ = Descriptor{ends[0]};
        writing_ = Descriptor{ends[1]};
    }

    void closeWriting() noexcept { writing_.close(); }
    void write(int why) const noexcept {
        static_cast<void>(::write(writing_.get(), &why, sizeof why) == sizeof why);
    }
    /// Returns the next report; nullopt if there is none.
    [[nodiscard]] std::optional<int> read() const noexcept {
        int why = 0;
        ssize_t count = 0;
        do {
            count = ::read(reading_.get(), &why, sizeof why);
        } while (count < 0 && errno == EINTR);
        return count == sizeof why ? std::optional{why} : std::nullopt;
    }

private:
    Descriptor reading_;
    Descriptor writing_;
};

} // namespace

pid_t startProgram(const std::string& path, std::vector<std::string> arguments, int output,
                   int error, std::chrono::seconds longest) {
    const auto pointers = pointersTo(arguments);
    const Attributes attributes;
    const Actions actions{output, error};
    ReportPipe reports;
    pid_t child = -1;
    {
        const SignalBlock blocked;
        child = ::fork();
        if (child == 0) { // from here on, only async-signal-safe calls
            reports.write(0);
            restoreDescriptorLimit();
            // The alarm outlives the change of program, and ends it if we no longer can.
            ::alarm(static_cast<unsigned>(longest.count()));
            reports.write(::posix_spawn(nullptr, path.c_str(), actions.get(), attributes.get(),
                                        pointers.data(), environ));
            ::_exit(127);
        }
    }
    if (child < 0) {
        fail(errno);
    }
    reports.closeWriting();
    // What the system's libraries do in a forked child can crash it before it gets here. A program
    // that never began must not count as one that failed.
    const bool began = reports.read().has_value();
    if (const int why = began ? reports.read().value_or(0) : ESRCH) {
        ::waitpid(child, nullptr, 0);
        fail(why);
    }
    return child;
}

int openExitDescriptor(pid_t child) noexcept {
    const int queue = ::kqueue();
    if (queue < 0) {
        return -1;
    }
    ::fcntl(queue, F_SETFD, FD_CLOEXEC);
    struct kevent exit{};
    EV_SET(&exit, static_cast<uintptr_t>(child), EVFILT_PROC, EV_ADD, NOTE_EXIT, 0, nullptr);
    if (::kevent(queue, &exit, 1, nullptr, 0, nullptr) != 0) { // it may have ended already
        ::close(queue);
        return -1;
    }
    return queue;
}

} // namespace velmiro
