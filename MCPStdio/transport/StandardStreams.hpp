#pragma once

namespace MCPStdio {

/// Opens /dev/null as each of the descriptors 0, 1 and 2 that is closed. Otherwise a file opened
/// later would get that number, and the output meant for a client. Called before anything else is
/// opened; further calls do nothing.
void openClosedStandardStreams() noexcept;

} // namespace MCPStdio
