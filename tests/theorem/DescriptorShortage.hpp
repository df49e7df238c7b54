#pragma once

#include <sys/resource.h>

namespace velmiro::theorem {

/// Leaves this process unable to open anything, for a scope.
class DescriptorShortage {
public:
    DescriptorShortage() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none{0, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    DescriptorShortage(const DescriptorShortage&) = delete;
    DescriptorShortage& operator=(const DescriptorShortage&) = delete;
    ~DescriptorShortage() { ::setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

} // namespace velmiro::theorem
