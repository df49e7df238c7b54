#include "approval_host/process/ChildProgram.hpp"

#include "approval_host/process/HostError.hpp"
#include "velmiro_mcp/base/DescriptorLimit.hpp"

#include <fcntl.h>
#include <langinfo.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <clocale>
#include <csignal>
#include <string_view>
#include <utility>

extern "C" char** environ; // NOLINT(readability-redundant-declaration): not every libc declares it

namespace velmiro::host {

namespace {

/// What is put around the start of a program, and taken back however that ends.
struct Actions {
    posix_spawn_file_actions_t files{};
    posix_spawnattr_t attributes{};

    Actions() {
        posix_spawn_file_actions_init(&files);
        posix_spawnattr_init(&attributes);
    }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;
    ~Actions() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }
};

/// A locale that is not installed counts as C. Sets this program's own for a moment; nothing in it
/// depends on that.
bool isLocaleUTF8() {
    const bool isInstalled = std::setlocale(LC_CTYPE, "") != nullptr;
    const std::string_view codes = ::nl_langinfo(CODESET);
    const bool is = isInstalled && (codes == "UTF-8" || codes == "utf8");
    std::setlocale(LC_CTYPE, "C");
    return is;
}

/// Returns the environment of the new program, whose texts the caller keeps.
std::vector<char*> environmentWith(std::string& locale) {
    std::vector<char*> all;
    for (char** each = environ; *each != nullptr; ++each) {
        if (!std::string_view{*each}.starts_with("LC_ALL=")) {
            all.push_back(*each);
        }
    }
    all.push_back(locale.data());
    all.push_back(nullptr);
    return all;
}

/// The program resets what this one has changed about signals, and leads a process group.
void prepareSignals(Actions& actions) {
    sigset_t none;
    sigset_t changed;
    sigemptyset(&none);
    sigemptyset(&changed);
    for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
        sigaddset(&changed, signal);
    }
    posix_spawnattr_setsigmask(&actions.attributes, &none);
    posix_spawnattr_setsigdefault(&actions.attributes, &changed);
    posix_spawnattr_setpgroup(&actions.attributes, 0);
    posix_spawnattr_setflags(&actions.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                      POSIX_SPAWN_SETPGROUP);
}

} // namespace

ChildProgram::ChildProgram(const std::vector<std::string>& command) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        throw HostError{"cannot make a pipe: " + systemReason()};
    }
    output_ = MCPStdio::Descriptor{ends[0]};
    const MCPStdio::Descriptor writing{ends[1]};
    // This program has one thread, so nothing is started between these calls.
    ::fcntl(output_.get(), F_SETFD, FD_CLOEXEC);
    ::fcntl(output_.get(), F_SETFL, O_NONBLOCK);
    ::fcntl(writing.get(), F_SETFD, FD_CLOEXEC);

    Actions actions;
    posix_spawn_file_actions_addopen(&actions.files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions.files, writing.get(), STDOUT_FILENO);
    prepareSignals(actions);

    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    std::string locale = "LC_ALL=C.UTF-8";
    std::vector<char*> environment = environmentWith(locale);

    restoreDescriptorLimit();
    const int problem =
        ::posix_spawn(&id_, command.front().c_str(), &actions.files, &actions.attributes,
                      arguments.data(), isLocaleUTF8() ? environ : environment.data());
    raiseDescriptorLimit();
    if (problem != 0) {
        id_ = -1;
        throw HostError{"cannot start " + command.front() + ": " +
                        std::generic_category().message(problem)};
    }
}

ChildProgram::~ChildProgram() {
    if (id_ > 0) {
        ::kill(-id_, SIGKILL);
        ::kill(id_, SIGKILL); // where it has not become the leader of its group yet
        while (::waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

std::optional<ChildProgram::Result> ChildProgram::result() {
    siginfo_t ended{}; // some systems leave it untouched while the program runs
    const auto id = static_cast<id_t>(id_);
    if (id_ <= 0 || ::waitid(P_PID, id, &ended, WEXITED | WNOHANG | WNOWAIT) != 0 ||
        ended.si_pid != id_) {
        return std::nullopt;
    }
    ::kill(-id_, SIGKILL); // what it leaves behind; its number is not free before it is reaped
    int status = 0;
    ::waitpid(std::exchange(id_, -1), &status, 0);
    Result result{.endedWell = WIFEXITED(status) && WEXITSTATUS(status) == 0, .printed = {}};
    std::array<char, 256> bytes;
    if (const ssize_t count = ::read(output_.get(), bytes.data(), bytes.size()); count > 0) {
        result.printed.assign(bytes.data(), static_cast<std::size_t>(count));
    }
    return result;
}

} // namespace velmiro::host
