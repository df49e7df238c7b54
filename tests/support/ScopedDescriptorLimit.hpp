#pragma once

#include <sys/resource.h>

namespace velmiro::test {

/// Sets this process's limit of descriptors, and restores it on destruction.
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
