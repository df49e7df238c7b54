#pragma once

#include <csignal>

namespace velmiro {

/// Blocks all signals of this thread for a scope. A child that starts in it runs no handler of ours
/// before it has become another program.
class SignalBlock {
public:
    SignalBlock() noexcept {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;
    ~SignalBlock() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

} // namespace velmiro
