#include "support/Pipe.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace velmiro::support {

Pipe makePipe(int flags) {
    std::array<int, 2> ends{};
#ifdef SOCK_CLOEXEC // systems with this flag have pipe2
    const bool made = ::pipe2(ends.data(), O_CLOEXEC | (flags & O_NONBLOCK)) == 0;
#else
    const bool made = ::pipe(ends.data()) == 0;
    if (made) {
        for (const int end : ends) {
            ::fcntl(end, F_SETFD, FD_CLOEXEC);
            ::fcntl(end, F_SETFL, ::fcntl(end, F_GETFL) | (flags & O_NONBLOCK));
        }
    }
#endif
    if (!made) {
        throw std::system_error{errno, std::generic_category(), "pipe"};
    }
    return {MCPStdio::Descriptor{ends[0]}, MCPStdio::Descriptor{ends[1]}};
}

} // namespace velmiro::support
