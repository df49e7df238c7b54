#include "MCPStdio/transport/StandardStreams.hpp"

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace MCPStdio {

void openClosedStandardStreams() noexcept {
    for (const int descriptor : {0, 1, 2}) {
        if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            // `open` uses the lowest free descriptor, which is this one: those below it are open.
            static_cast<void>(::open("/dev/null", O_RDWR));
        }
    }
}

} // namespace MCPStdio
