#include "velmiro_mcp/base/DescriptorLimit.hpp"

#include <algorithm>
#include <atomic>
#include <sys/resource.h>

namespace velmiro {
namespace {

/// Accepted as a soft limit even by a system that reports an infinite hard limit, yet refuses
/// infinity as a soft one.
constexpr rlim_t fallbackLimit = 10'240;

/// The soft limit before it was first raised; infinity if there is nothing to restore.
std::atomic<rlim_t> originalLimit{RLIM_INFINITY};

} // namespace

void raiseDescriptorLimit() noexcept {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return;
    }
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = limit.rlim_max;
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        limit.rlim_cur = std::max(before, fallbackLimit);
        if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            return;
        }
    }
    rlim_t notRaised = RLIM_INFINITY;
    originalLimit.compare_exchange_strong(notRaised, before);
}

void restoreDescriptorLimit() noexcept {
    rlimit limit{};
    const rlim_t before = originalLimit;
    if (before != RLIM_INFINITY && ::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = before;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace velmiro
