#pragma once

namespace MCPStdio {

/// Opens /dev/null in place of each of the descriptors 0, 1 and 2 that is closed, so that no file
/// opened later takes its place and receives what was meant for a client. To be called before
/// anything else is opened; does nothing the second time.
void openClosedStandardStreams() noexcept;

} // namespace MCPStdio
