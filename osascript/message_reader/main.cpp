// Writes the readable text of the message on standard input to standard output.
//
// A program of its own, because a message may be made to exhaust its reader: then this process
// ends, and the one that started it, which cannot be limited in the same way, shows the message as
// it is. Only with status 0 is the output complete.

#include "osascript/message/MessageText.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr unsigned mostSeconds = 20;
constexpr rlim_t mostMemory = rlim_t{1} << 30U;

/// Lowers a limit of this process, which may already be lower.
void limit(__rlimit_resource resource, rlim_t most) {
    rlimit current{};
    if (::getrlimit(resource, &current) == 0) {
        current.rlim_max = std::min(current.rlim_max, most);
        current.rlim_cur = std::min(current.rlim_cur, most);
        ::setrlimit(resource, &current);
    }
}

void limitProcess() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    limit(RLIMIT_CORE, 0);
    if constexpr (SANITIZED == 0) { // sanitizers reserve terabytes
        limit(RLIMIT_AS, mostMemory);
    }
    limit(RLIMIT_CPU, mostSeconds);
    // An ignored or blocked signal is inherited.
    sigset_t alarms;
    ::sigemptyset(&alarms);
    ::sigaddset(&alarms, SIGALRM);
    std::signal(SIGALRM, SIG_DFL);
    ::sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
    ::alarm(mostSeconds);
}

bool write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace

int main() {
    limitProcess();
    try {
        const bool isWritten = write(velmiro::osascript::messageText(STDIN_FILENO));
        return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception&) {
        return EXIT_FAILURE;
    }
}
