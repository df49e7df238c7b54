#pragma once

#include <csignal>

namespace velmiro {

/// Restores the default action of SIGCHLD. A process that ignores it, perhaps by inheritance,
/// cannot wait for its children.
inline void stopIgnoringChildren() noexcept {
    struct sigaction action{};
    ::sigaction(SIGCHLD, nullptr, &action);
    if (action.sa_handler == SIG_IGN || (action.sa_flags & SA_NOCLDWAIT) != 0) {
        action.sa_handler = SIG_DFL;
        action.sa_flags = 0;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

} // namespace velmiro
