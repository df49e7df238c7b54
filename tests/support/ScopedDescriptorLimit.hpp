#pragma once

#include <sys/resource.h>

namespace velmiro::test {

/// Sets how many descriptors this process may have, and puts it back at the end.
class ScopedDescriptorLimit {
public:
    explicit ScopedDescriptorLimit(rlim_t soft) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit changed{soft, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &changed);
    }
    ScopedDescriptorLimit(const ScopedDescriptorLimit&) = delete;
    ScopedDescriptorLimit& operator=(const ScopedDescriptorLimit&) = delete;
    ~ScopedDescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

} // namespace velmiro::test
