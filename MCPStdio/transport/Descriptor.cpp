#include "MCPStdio/transport/Descriptor.hpp"

#include <cerrno>

namespace MCPStdio {

void Descriptor::close() noexcept {
    if (number_ >= 0) {
        const int error = errno;
        ::close(release());
        errno = error;
    }
}

} // namespace MCPStdio
