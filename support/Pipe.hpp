#pragma once

#include "MCPStdio/transport/Descriptor.hpp"

namespace velmiro::support {

/// Both ends of a pipe. A child inherits neither.
struct Pipe {
    MCPStdio::Descriptor reading;
    MCPStdio::Descriptor writing;
};

/// Opens a pipe, with O_NONBLOCK set on both ends if `flags` contains it. Throws std::system_error.
Pipe makePipe(int flags = 0);

} // namespace velmiro::support
